#include "platform/registry.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/linux/file-descriptor.h"
#include "platform/linux/native.h"
#include "platform/linux/upper-case.h"

// The machine hive is the directory etc/larder/registry below the machine root. A key is a
// directory, and a value is a file in it that contains a ValueHeader and the data. They are named
// by FileNameOf; values have the suffix ".value" in addition. File names of keys contain no dots,
// so they can't end like a value's, and no name starts with a dot, as temporary files do.
//
// Names are compared without case, but file names are not. So an operation tries the given spelling
// first, and reads the directory for another one if there is no such file.
//
// The permissions of a key's directory decide who may read and change the key. They are 0755 for a
// new key, and 0644 for the file of a value, whatever the umask is. A key that is open to all users
// has the sticky bit, which only the directory's owner can set. The bit counts if the owner is root
// or owns the hive's directory. With it an open that asks for rights to change the key succeeds;
// the changes are made with the caller's own rights, so the permissions still decide about them.
//
// A value is written to a temporary file, which is then renamed: a reader sees the old value or the
// new one, also after a crash. An open key is an O_PATH descriptor, with which all operations
// start, so they work on the same key even if another one takes its place. Symbolic links below the
// hive are neither keys nor values, and none is followed.

namespace larder::platform {

namespace {

struct StoredName {
  WideString upper;
  WideString name;
  std::string fileName;

  bool operator<(const StoredName& other) const {
    return std::tie(upper, name) < std::tie(other.upper, other.name);
  }
};

// The names in a directory as they were when it had this status, after so many changes through the
// same key.
struct Listing {
  std::vector<StoredName> names;
  struct stat status {};
  std::uint32_t changes = 0;
};

}  // namespace

struct RegistryKeyObject {
  FileDescriptor directory;  // O_PATH
  std::uint32_t access;
  Listing subkeys;
  Listing values;
  std::atomic<std::uint32_t> changes{0};  // made through this key, by any thread
};

namespace {

constexpr std::uint32_t kDelete = 0x10000;
constexpr std::uint32_t kNotify = 0x10;
constexpr std::uint32_t kReadRights = kKeyQueryValue | kKeyEnumerateSubKeys | kNotify;
constexpr std::uint32_t kWriteRights = kKeySetValue | kKeyCreateSubKey | kDelete;

constexpr std::string_view kValueSuffix = ".value";
constexpr int kDirectoryFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kFileMode = 0644;

enum class EntryKind { kKey, kValue, kOther };

// ---- Names ----

// A key's file name has no dots, so none ends like a value's.
Dots EscapedDots(EntryKind kind) { return kind == EntryKind::kKey ? Dots::kAll : Dots::kFirst; }

std::string FileNameOf(WideView name, EntryKind kind) {
  const std::string fileName = FileNameOf(name, EscapedDots(kind));
  return kind == EntryKind::kValue ? fileName + std::string(kValueSuffix) : fileName;
}

// False for a file name that FileNameOf doesn't return.
bool NameOfFile(std::string_view fileName, EntryKind kind, WideString& name) {
  if (kind == EntryKind::kValue) {
    if (!fileName.ends_with(kValueSuffix)) return false;
    fileName.remove_suffix(kValueSuffix.size());
  }
  return NameOfFile(fileName, EscapedDots(kind), name);
}

// ---- Entries of a directory ----

struct Entry {
  std::string fileName;
  EntryKind kind;
};

EntryKind KindOf(int directory, const dirent64& entry) {
  unsigned char type = entry.d_type;
  struct stat status {};
  if (type == DT_UNKNOWN && fstatat(directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
    type = static_cast<unsigned char>(IFTODT(status.st_mode));
  if (type == DT_DIR) return EntryKind::kKey;
  return type == DT_REG ? EntryKind::kValue : EntryKind::kOther;
}

bool IsDots(std::string_view fileName) { return fileName == "." || fileName == ".."; }

// Without a DIR, which takes nearly twice as many system calls for a small directory.
Code ReadEntries(int directory, std::vector<Entry>& entries) {
  const FileDescriptor opened(openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!opened.IsOpen()) return CodeFromErrno(errno);
  alignas(dirent64) std::array<char, 8192> buffer;
  ssize_t size = 0;
  while ((size = getdents64(opened.Get(), buffer.data(), buffer.size())) > 0) {
    for (ssize_t at = 0; at < size;) {
      const auto& entry = *reinterpret_cast<const dirent64*>(buffer.data() + at);
      if (!IsDots(entry.d_name)) entries.push_back({entry.d_name, KindOf(directory, entry)});
      at += entry.d_reclen;
    }
  }
  return size == 0 ? kSuccess : CodeFromErrno(errno);
}

// The keys or the values in a directory, sorted by name without case.
Code ListNames(int directory, EntryKind kind, std::vector<StoredName>& names) {
  std::vector<Entry> entries;
  if (const Code code = ReadEntries(directory, entries); code != kSuccess) return code;
  UpperCase upperCase;
  for (Entry& entry : entries) {
    WideString name;
    if (entry.kind != kind || !NameOfFile(entry.fileName, kind, name)) continue;
    WideString upper = upperCase.Of(name);
    names.push_back({std::move(upper), std::move(name), std::move(entry.fileName)});
  }
  std::sort(names.begin(), names.end());
  return kSuccess;
}

// The file name of the key or value whose name differs from the given one in case only.
Code FindSpelling(int directory, WideView name, EntryKind kind, std::string& fileName) {
  std::vector<StoredName> names;
  if (const Code code = ListNames(directory, kind, names); code != kSuccess) return code;
  const WideString wanted = UpperCase().Of(name);
  for (StoredName& stored : names) {
    if (stored.upper != wanted) continue;
    fileName = std::move(stored.fileName);
    return kSuccess;
  }
  return kFileNotFound;
}

bool IsSameTime(const timespec& one, const timespec& other) {
  return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

// Whether no entry came or went between two queries of a directory's status. The clock may not have
// advanced meanwhile, but most file systems count subdirectories as links, and changes through the
// same key are counted.
bool IsUnchanged(const struct stat& before, const struct stat& now) {
  return before.st_nlink == now.st_nlink && IsSameTime(before.st_mtim, now.st_mtim) &&
         IsSameTime(before.st_ctim, now.st_ctim);
}

// An enumeration reads the directory at index 0, and again only if it has changed.
Code Refresh(Listing& listing, RegistryKey key, EntryKind kind, std::uint32_t index,
             const struct stat& status) {
  const std::uint32_t changes = key->changes;
  if (index > 0 && listing.changes == changes && IsUnchanged(listing.status, status))
    return kSuccess;
  listing = {{}, status, changes};
  const Code code = ListNames(key->directory.Get(), kind, listing.names);
  if (code != kSuccess) listing = {};
  return code;
}

Code CopyName(const Listing& listing, std::uint32_t index, LarderWideChar* name,
              std::uint32_t& length) {
  if (name == nullptr) return kInvalidParameter;
  if (index >= listing.names.size()) return kNoMoreItems;
  const WideString& found = listing.names[index].name;
  if (found.size() >= length) return kMoreData;
  std::copy_n(found.c_str(), found.size() + 1, name);
  length = static_cast<std::uint32_t>(found.size());
  return kSuccess;
}

// ---- Keys ----

bool HasNul(WideView text) { return text.find(u'\0') != WideView::npos; }

std::vector<WideView> LevelsOf(WideView path) {
  std::vector<WideView> levels;
  while (!path.empty()) {
    const std::size_t end = path.find(u'\\');
    if (end != 0) levels.push_back(path.substr(0, end));
    path.remove_prefix(end == WideView::npos ? path.size() : end + 1);
  }
  return levels;
}

Code OpenDirectory(int parent, const std::string& fileName, FileDescriptor& directory) {
  FileDescriptor opened(openat(parent, fileName.c_str(), kDirectoryFlags | O_NOFOLLOW));
  if (!opened.IsOpen())
    return errno == ENOTDIR || errno == ELOOP ? kRegistryCorrupt : CodeFromErrno(errno);
  directory = std::move(opened);
  return kSuccess;
}

std::string HivePath() { return MachineRoot() + "/etc/larder/registry"; }

Code OpenHive(FileDescriptor& hive) {
  hive = FileDescriptor(open(HivePath().c_str(), kDirectoryFlags));
  return hive.IsOpen() ? kSuccess : CodeFromErrno(errno);
}

// Does nothing if the directory exists.
Code CreateDirectory(int parent, const std::string& path) {
  if (mkdirat(parent, path.c_str(), kDirectoryMode) != 0)
    return errno == EEXIST ? kSuccess : CodeFromErrno(errno);
  FileDescriptor created;
  if (const Code code = OpenDirectory(parent, path, created); code != kSuccess) return code;
  struct stat status {};
  if (fstat(created.Get(), &status) != 0) return CodeFromErrno(errno);
  const mode_t mode = (status.st_mode & S_ISGID) | kDirectoryMode;
  return fchmodat(created.Get(), ".", mode, 0) == 0 ? kSuccess : CodeFromErrno(errno);
}

Code CreateHive(FileDescriptor& hive) {
  if (const Code code = OpenHive(hive); code != kFileNotFound) return code;
  std::string path = MachineRoot();
  for (const char* level : {"/etc", "/larder", "/registry"}) {
    path += level;
    if (const Code code = CreateDirectory(AT_FDCWD, path); code != kSuccess) return code;
  }
  return OpenHive(hive);
}

Code OpenLevel(int parent, WideView name, FileDescriptor& directory, std::string& fileName) {
  fileName = FileNameOf(name, EntryKind::kKey);
  Code code = OpenDirectory(parent, fileName, directory);
  if (code != kFileNotFound) return code;
  code = FindSpelling(parent, name, EntryKind::kKey, fileName);
  return code == kSuccess ? OpenDirectory(parent, fileName, directory) : code;
}

Code CreateLevel(int parent, WideView name, FileDescriptor& directory, std::string& fileName) {
  if (const Code code = OpenLevel(parent, name, directory, fileName); code != kFileNotFound)
    return code;
  fileName = FileNameOf(name, EntryKind::kKey);
  if (const Code code = CreateDirectory(parent, fileName); code != kSuccess) return code;
  return OpenDirectory(parent, fileName, directory);
}

using LevelStep = Code (*)(int parent, WideView name, FileDescriptor& directory,
                           std::string& fileName);

// Replaces directory by the one that the levels lead to from it.
Code Descend(FileDescriptor& directory, const WideView* level, const WideView* end,
             LevelStep step) {
  std::string fileName;
  for (; level != end; ++level) {
    FileDescriptor next;
    if (const Code code = step(directory.Get(), *level, next, fileName); code != kSuccess)
      return code;
    directory = std::move(next);
  }
  return kSuccess;
}

bool Allows(int directory, int mode) {
  return faccessat(directory, ".", mode | X_OK, AT_EACCESS) == 0;
}

bool OwnsHive(uid_t user) {
  FileDescriptor hive;
  struct stat status {};
  return OpenHive(hive) == kSuccess && fstat(hive.Get(), &status) == 0 && status.st_uid == user;
}

bool IsMarkTrusted(const struct stat& status) {
  return status.st_uid == 0 || OwnsHive(status.st_uid);
}

bool IsMarked(int directory) {
  struct stat status {};
  return fstat(directory, &status) == 0 && (status.st_mode & S_ISVTX) != 0 && IsMarkTrusted(status);
}

Code CheckAccess(int directory, std::uint32_t access) {
  const int readMode = (access & kReadRights) != 0 ? R_OK : 0;
  const int writeMode = (access & kWriteRights) != 0 ? W_OK : 0;
  const int mode = readMode | writeMode;
  if (mode == 0 || Allows(directory, mode)) return kSuccess;
  const bool isReadable = readMode == 0 || Allows(directory, readMode);
  return writeMode != 0 && isReadable && IsMarked(directory) ? kSuccess : kAccessDenied;
}

// Not open after any failure, also if a link leads to the hive or the system lacks the call.
FileDescriptor OpenWithoutLinks(const std::string& path) {
  open_how how{};
  how.flags = kDirectoryFlags;
  how.resolve = RESOLVE_NO_SYMLINKS;
  return FileDescriptor(
      static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof(how))));
}

// Opens as many levels as exist in the given spelling, with one system call in most cases. Returns
// the level after them. Opens nothing if not even the first one can be opened.
const WideView* OpenDeepest(FileDescriptor& directory, const WideView* level, const WideView* end) {
  std::string path = HivePath();
  std::vector<std::size_t> ends;
  for (const WideView* one = level; one != end; ++one)
    ends.push_back(path.append("/").append(FileNameOf(*one, EntryKind::kKey)).size());
  for (; end != level; --end, ends.pop_back()) {
    path.resize(ends.back());
    directory = OpenWithoutLinks(path);
    if (directory.IsOpen()) break;
  }
  return end;
}

Code OpenKey(const WideString& path, std::uint32_t access, bool create, RegistryKey& key) {
  key = nullptr;
  if (HasNul(path)) return kInvalidParameter;
  const std::vector<WideView> levels = LevelsOf(path);
  const WideView* const end = levels.data() + levels.size();
  FileDescriptor directory;
  const WideView* const next = OpenDeepest(directory, levels.data(), end);
  Code code = kSuccess;
  if (!directory.IsOpen()) code = create ? CreateHive(directory) : OpenHive(directory);
  if (code == kSuccess) code = Descend(directory, next, end, create ? CreateLevel : OpenLevel);
  if (code == kSuccess) code = CheckAccess(directory.Get(), access);
  if (code == kSuccess) key = new RegistryKeyObject{std::move(directory), access, {}, {}};
  return code;
}

// Whether the key is valid and has the right that an operation needs.
Code CheckKey(RegistryKey key, std::uint32_t right, struct stat& status) {
  if (key == nullptr) return kInvalidHandle;
  if ((key->access & right) != right) return kAccessDenied;
  if (fstat(key->directory.Get(), &status) != 0) return CodeFromErrno(errno);
  return status.st_nlink == 0 ? kKeyDeleted : kSuccess;
}

Code CheckKey(RegistryKey key, std::uint32_t right) {
  struct stat status {};
  return CheckKey(key, right, status);
}

Code CheckKey(RegistryKey key, std::uint32_t right, const WideString& name) {
  const Code code = CheckKey(key, right);
  return code == kSuccess && HasNul(name) ? kInvalidParameter : code;
}

// ---- Removal of keys ----

enum class Subkeys { kRefuse, kRemove };

Code RemoveKeyAt(int parent, const std::string& fileName, Subkeys subkeys);

Code RemoveContents(int directory, Subkeys subkeys) {
  std::vector<Entry> entries;
  if (const Code code = ReadEntries(directory, entries); code != kSuccess) return code;
  const auto isKey = [](const Entry& entry) { return entry.kind == EntryKind::kKey; };
  if (subkeys == Subkeys::kRefuse && std::any_of(entries.begin(), entries.end(), isKey))
    return kAccessDenied;
  for (const Entry& entry : entries) {
    Code code = kSuccess;
    if (isKey(entry))
      code = RemoveKeyAt(directory, entry.fileName, subkeys);
    else if (unlinkat(directory, entry.fileName.c_str(), 0) != 0)
      code = CodeFromErrno(errno);
    // Another process may be removing the key too.
    if (code != kSuccess && code != kFileNotFound) return code;
  }
  return kSuccess;
}

Code RemoveKeyAt(int parent, const std::string& fileName, Subkeys subkeys) {
  FileDescriptor directory;
  if (const Code code = OpenDirectory(parent, fileName, directory); code != kSuccess) return code;
  // Checked first, so that a key that can't be removed keeps its values.
  if (!Allows(parent, W_OK) || !Allows(directory.Get(), R_OK | W_OK)) return kAccessDenied;
  for (;;) {
    if (const Code code = RemoveContents(directory.Get(), subkeys); code != kSuccess) return code;
    if (unlinkat(parent, fileName.c_str(), AT_REMOVEDIR) == 0) return kSuccess;
    // Something was stored in the key meanwhile; it is removed too.
    if (errno != ENOTEMPTY && errno != EEXIST) return CodeFromErrno(errno);
  }
}

Code RemoveKeyBelow(FileDescriptor directory, const WideString& path, Subkeys subkeys) {
  const std::vector<WideView> levels = LevelsOf(path);
  if (levels.empty() || HasNul(path)) return kInvalidParameter;
  const WideView* last = &levels.back();
  if (const Code code = Descend(directory, levels.data(), last, OpenLevel); code != kSuccess)
    return code;
  FileDescriptor key;
  std::string fileName;
  const Code code = OpenLevel(directory.Get(), *last, key, fileName);
  return code == kSuccess ? RemoveKeyAt(directory.Get(), fileName, subkeys) : code;
}

// ---- Values ----

struct ValueHeader {
  std::uint32_t type;
  std::uint32_t size;  // bytes of data that follow
};

constexpr std::string_view kMagic = "LRV1";
constexpr std::size_t kHeaderSize = 12;  // the magic, type and size, little-endian
using HeaderBytes = std::array<unsigned char, kHeaderSize>;

void PutNumber(unsigned char* bytes, std::uint32_t number) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(number >> 8 * i);
}

std::uint32_t GetNumber(const unsigned char* bytes) {
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i) number |= std::uint32_t{bytes[i]} << 8 * i;
  return number;
}

// kRegistryCorrupt if the file ends before that.
Code ReadBytes(int file, void* data, std::size_t size) {
  auto* next = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t bytesRead = read(file, next, size);
    if (bytesRead < 0 && errno == EINTR) continue;
    if (bytesRead < 0) return CodeFromErrno(errno);
    if (bytesRead == 0) return kRegistryCorrupt;
    next += bytesRead;
    size -= static_cast<std::size_t>(bytesRead);
  }
  return kSuccess;
}

Code WriteBytes(int file, const void* data, std::size_t size) {
  const auto* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = write(file, next, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return CodeFromErrno(errno);
    next += written;
    size -= static_cast<std::size_t>(written);
  }
  return kSuccess;
}

// The beginning of a value's file, which is the whole of most files: one system call reads it.
struct ValueStart {
  std::array<unsigned char, 256> bytes;
  std::size_t size = 0;
};

bool IsRegular(int file, struct stat& status) {
  return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

Code ReadStart(int file, ValueStart& start) {
  ssize_t size = 0;
  do {
    size = read(file, start.bytes.data(), start.bytes.size());
  } while (size < 0 && errno == EINTR);
  const int error = errno;
  struct stat status {};
  if (size < 0) return IsRegular(file, status) ? CodeFromErrno(error) : kRegistryCorrupt;
  start.size = static_cast<std::size_t>(size);
  return start.size < kHeaderSize ? kRegistryCorrupt : kSuccess;
}

bool HasSize(int file, const ValueStart& start, std::size_t size) {
  if (start.size < start.bytes.size() && start.size == size) return true;
  struct stat status {};
  return IsRegular(file, status) && status.st_size == static_cast<off_t>(size);
}

Code ReadHeader(int file, ValueStart& start, ValueHeader& header) {
  if (const Code code = ReadStart(file, start); code != kSuccess) return code;
  header = {GetNumber(&start.bytes[4]), GetNumber(&start.bytes[8])};
  const bool isComplete = std::memcmp(start.bytes.data(), kMagic.data(), kMagic.size()) == 0 &&
                          HasSize(file, start, kHeaderSize + header.size);
  return isComplete ? kSuccess : kRegistryCorrupt;
}

Code ReadData(int file, const ValueStart& start, void* data, std::size_t size) {
  const std::size_t known = std::min(start.size - kHeaderSize, size);
  std::memcpy(data, &start.bytes[kHeaderSize], known);
  return ReadBytes(file, static_cast<char*>(data) + known, size - known);
}

Code OpenValueFile(int directory, const std::string& fileName, FileDescriptor& file) {
  file = FileDescriptor(
      openat(directory, fileName.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
  if (file.IsOpen()) return kSuccess;
  return errno == ELOOP ? kRegistryCorrupt : CodeFromErrno(errno);
}

Code OpenValue(int directory, WideView name, FileDescriptor& file) {
  std::string fileName = FileNameOf(name, EntryKind::kValue);
  Code code = OpenValueFile(directory, fileName, file);
  if (code != kFileNotFound) return code;
  code = FindSpelling(directory, name, EntryKind::kValue, fileName);
  return code == kSuccess ? OpenValueFile(directory, fileName, file) : code;
}

Code OpenValueOf(RegistryKey key, const WideString& name, FileDescriptor& file) {
  const bool isAllowed = key != nullptr && (key->access & kKeyQueryValue) != 0 && !HasNul(name);
  const Code code = isAllowed ? OpenValue(key->directory.Get(), name, file) : kFileNotFound;
  if (code != kFileNotFound) return code;
  // A deleted key has no values, so there is a value only if the key is valid.
  const Code reason = CheckKey(key, kKeyQueryValue, name);
  return reason == kSuccess ? code : reason;
}

// The file name of a value, whether the value exists or not.
Code FindValueFileName(int directory, WideView name, std::string& fileName) {
  fileName = FileNameOf(name, EntryKind::kValue);
  struct stat status {};
  if (fstatat(directory, fileName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return kSuccess;
  if (errno != ENOENT) return CodeFromErrno(errno);
  const Code code = FindSpelling(directory, name, EntryKind::kValue, fileName);
  return code == kFileNotFound ? kSuccess : code;
}

// A new file in the directory; removed by the destructor unless it was renamed.
class TemporaryFile {
 public:
  explicit TemporaryFile(int keyDirectory) : directory(keyDirectory) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (file.IsOpen() && !isRenamed) unlinkat(directory, name.c_str(), 0);
  }

  Code Create() {
    static std::atomic<std::uint64_t> count{0};
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    do {
      name = ".tmp-" + std::to_string(getpid()) + "-" + std::to_string(++count);
      file = FileDescriptor(openat(directory, name.c_str(), kFlags, kFileMode));
    } while (!file.IsOpen() && errno == EEXIST);
    if (!file.IsOpen() || fchmod(file.Get(), kFileMode) != 0) return CodeFromErrno(errno);
    return kSuccess;
  }

  Code Write(const void* data, std::size_t size) const {
    return WriteBytes(file.Get(), data, size);
  }

  Code RenameTo(const std::string& fileName) {
    if (fsync(file.Get()) != 0) return CodeFromErrno(errno);
    isRenamed = renameat(directory, name.c_str(), directory, fileName.c_str()) == 0;
    return isRenamed ? kSuccess : CodeFromErrno(errno);
  }

 private:
  int directory;
  std::string name;
  FileDescriptor file;
  bool isRenamed = false;
};

Code StoreValue(int directory, const std::string& fileName, ValueHeader header, const void* data) {
  HeaderBytes bytes;
  std::memcpy(bytes.data(), kMagic.data(), kMagic.size());
  PutNumber(&bytes[4], header.type);
  PutNumber(&bytes[8], header.size);
  TemporaryFile file(directory);
  Code code = file.Create();
  if (code == kSuccess) code = file.Write(bytes.data(), bytes.size());
  if (code == kSuccess) code = file.Write(data, header.size);
  return code == kSuccess ? file.RenameTo(fileName) : code;
}

}  // namespace

Code OpenRegistryKey(const WideString& path, std::uint32_t access, RegistryKey& key) {
  return OpenKey(path, access, false, key);
}

Code MakeRegistryKey(const WideString& path, std::uint32_t access, RegistryKey& key) {
  return OpenKey(path, access, true, key);
}

void CloseRegistryKey(RegistryKey key) noexcept { delete key; }

Code QueryRegistryValue(RegistryKey key, const WideString& name, std::uint32_t& type, void* data,
                        std::uint32_t& size) {
  FileDescriptor file;
  ValueStart start;
  ValueHeader header{};
  Code code = OpenValueOf(key, name, file);
  if (code == kSuccess) code = ReadHeader(file.Get(), start, header);
  if (code != kSuccess) return code;
  if (data != nullptr && header.size > size) code = kMoreData;
  if (data != nullptr && header.size <= size) code = ReadData(file.Get(), start, data, header.size);
  if (code != kSuccess && code != kMoreData) return code;
  type = header.type;
  size = header.size;
  return code;
}

Code SetRegistryValue(RegistryKey key, const WideString& name, std::uint32_t type, const void* data,
                      std::uint32_t size) {
  Code code = CheckKey(key, kKeySetValue, name);
  if (code != kSuccess) return code;
  if (data == nullptr && size > 0) return kInvalidParameter;
  ++key->changes;
  std::string fileName;
  code = FindValueFileName(key->directory.Get(), name, fileName);
  return code == kSuccess ? StoreValue(key->directory.Get(), fileName, {type, size}, data) : code;
}

Code RemoveRegistryValue(RegistryKey key, const WideString& name) {
  Code code = CheckKey(key, kKeySetValue, name);
  if (code != kSuccess) return code;
  ++key->changes;
  std::string fileName = FileNameOf(name, EntryKind::kValue);
  if (unlinkat(key->directory.Get(), fileName.c_str(), 0) == 0) return kSuccess;
  if (errno != ENOENT) return CodeFromErrno(errno);
  code = FindSpelling(key->directory.Get(), name, EntryKind::kValue, fileName);
  if (code != kSuccess) return code;
  return unlinkat(key->directory.Get(), fileName.c_str(), 0) == 0 ? kSuccess : CodeFromErrno(errno);
}

Code RegistrySubkeyName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                        std::uint32_t& length) {
  struct stat status {};
  Code code = CheckKey(key, kKeyEnumerateSubKeys, status);
  if (code == kSuccess) code = Refresh(key->subkeys, key, EntryKind::kKey, index, status);
  return code == kSuccess ? CopyName(key->subkeys, index, name, length) : code;
}

Code RegistryValueName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                       std::uint32_t& length) {
  struct stat status {};
  Code code = CheckKey(key, kKeyQueryValue, status);
  if (code == kSuccess) code = Refresh(key->values, key, EntryKind::kValue, index, status);
  return code == kSuccess ? CopyName(key->values, index, name, length) : code;
}

bool CanBeOpenToAll() noexcept { return true; }

bool IsOpenToAll(RegistryKey key) { return key != nullptr && IsMarked(key->directory.Get()); }

Code SetOpenToAll(RegistryKey key, bool isOpen) {
  if (const Code code = CheckKey(key, 0); code != kSuccess) return code;
  struct stat status {};
  if (fstat(key->directory.Get(), &status) != 0) return CodeFromErrno(errno);
  if (isOpen && !IsMarkTrusted(status)) return kAccessDenied;
  const mode_t others = status.st_mode & 07777 & ~mode_t{S_ISVTX};
  const mode_t mode = others | (isOpen ? mode_t{S_ISVTX} : 0);
  return fchmodat(key->directory.Get(), ".", mode, 0) == 0 ? kSuccess : CodeFromErrno(errno);
}

Code RemoveRegistryTree(const WideString& path) {
  FileDescriptor hive;
  if (const Code code = OpenHive(hive); code != kSuccess) return code;
  return RemoveKeyBelow(std::move(hive), path, Subkeys::kRemove);
}

Code RemoveRegistryKey(RegistryKey parent, const WideString& name) {
  // As on Windows, the access that the parent was opened for doesn't matter.
  if (const Code code = CheckKey(parent, 0); code != kSuccess) return code;
  ++parent->changes;
  FileDescriptor directory(fcntl(parent->directory.Get(), F_DUPFD_CLOEXEC, 0));
  if (!directory.IsOpen()) return CodeFromErrno(errno);
  return RemoveKeyBelow(std::move(directory), name, Subkeys::kRefuse);
}

}  // namespace larder::platform
