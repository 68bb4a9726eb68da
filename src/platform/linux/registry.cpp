#include "platform/registry.h"

#include <fcntl.h>
#include <sys/stat.h>
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

#include "platform/linux/directory-stream.h"
#include "platform/linux/errno-code.h"
#include "platform/linux/file-descriptor.h"
#include "platform/linux/native-path.h"
#include "platform/linux/upper-case.h"

// The machine hive is the directory etc/larder/registry below the machine root: a directory for
// each key, and in it a file for each value. File names are the names in UTF-8, with some bytes as
// "%" and two hexadecimal digits; see FileNameOf. A value's file holds a ValueHead and then the
// data. It is written under a name of its own beside its place and then renamed, so a reader never
// sees a part. Symbolic links below the hive are neither keys nor values, and nothing here follows
// one.

namespace larder::platform {

struct RegistryKeyObject {
  FileDescriptor directory;  // opened as a place only (O_PATH)
  std::uint32_t access;
};

namespace {

constexpr std::uint32_t kDelete = 0x10000;
constexpr std::uint32_t kNotify = 0x10;
constexpr std::uint32_t kReadRights = kKeyQueryValue | kKeyEnumerateSubKeys | kNotify;
constexpr std::uint32_t kWriteRights = kKeySetValue | kKeyCreateSubKey | kDelete;

constexpr std::string_view kValueEnd = ".value";
constexpr int kPlaceFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

enum class EntryKind { kKey, kValue, kOther };

// ---- Names ----

// A key's file name has no dots, so none ends like a value's.
Dots EscapedDots(EntryKind kind) { return kind == EntryKind::kKey ? Dots::kAll : Dots::kFirst; }

std::string FileNameOf(WideView name, EntryKind kind) {
  const std::string fileName = FileNameOf(name, EscapedDots(kind));
  return kind == EntryKind::kValue ? fileName + std::string(kValueEnd) : fileName;
}

// False for a file name that FileNameOf doesn't make.
bool NameOfFile(std::string_view fileName, EntryKind kind, WideString& name) {
  if (kind == EntryKind::kValue) {
    if (!fileName.ends_with(kValueEnd)) return false;
    fileName.remove_suffix(kValueEnd.size());
  }
  return NameOfFile(fileName, EscapedDots(kind), name);
}

// ---- What is in a directory ----

struct Entry {
  std::string fileName;
  EntryKind kind;
};

EntryKind KindOf(int directory, const dirent& entry) {
  unsigned char type = entry.d_type;
  struct stat status {};
  if (type == DT_UNKNOWN && fstatat(directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
    type = static_cast<unsigned char>(IFTODT(status.st_mode));
  if (type == DT_DIR) return EntryKind::kKey;
  return type == DT_REG ? EntryKind::kValue : EntryKind::kOther;
}

Code ReadEntries(int directory, std::vector<Entry>& entries) {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  DirectoryStream stream;
  Code code = stream.Open(FileDescriptor(openat(directory, ".", kFlags)));
  if (code != kSuccess) return code;
  const dirent* entry = nullptr;
  while ((code = stream.ReadNext(entry)) == kSuccess && entry != nullptr)
    if (!IsDots(*entry)) entries.push_back({entry->d_name, KindOf(directory, *entry)});
  return code;
}

struct StoredName {
  WideString upper;
  WideString name;
  std::string fileName;

  bool operator<(const StoredName& other) const {
    return std::tie(upper, name) < std::tie(other.upper, other.name);
  }
};

// The keys or the values in a directory, in the registry's order.
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

// The file name of a key or value that is stored under another spelling of the name.
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

Code GiveName(int directory, EntryKind kind, std::uint32_t index, LarderWideChar* name,
              std::uint32_t& length) {
  if (name == nullptr) return kInvalidParameter;
  std::vector<StoredName> names;
  if (const Code code = ListNames(directory, kind, names); code != kSuccess) return code;
  if (index >= names.size()) return kNoMoreItems;
  const WideString& found = names[index].name;
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

Code OpenPlace(int parent, const std::string& fileName, FileDescriptor& place) {
  FileDescriptor opened(openat(parent, fileName.c_str(), kPlaceFlags | O_NOFOLLOW));
  if (!opened.IsOpen())
    return errno == ENOTDIR || errno == ELOOP ? kRegistryCorrupt : CodeFromErrno(errno);
  place = std::move(opened);
  return kSuccess;
}

Code OpenHive(FileDescriptor& hive) {
  hive = FileDescriptor(open((MachineRoot() + "/etc/larder/registry").c_str(), kPlaceFlags));
  return hive.IsOpen() ? kSuccess : CodeFromErrno(errno);
}

Code MakeHive(FileDescriptor& hive) {
  if (const Code code = OpenHive(hive); code != kFileNotFound) return code;
  std::string path = MachineRoot();
  for (const char* level : {"/etc", "/larder", "/registry"}) {
    path += level;
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) return CodeFromErrno(errno);
  }
  return OpenHive(hive);
}

Code OpenLevel(int parent, WideView name, FileDescriptor& place, std::string& fileName) {
  fileName = FileNameOf(name, EntryKind::kKey);
  Code code = OpenPlace(parent, fileName, place);
  if (code != kFileNotFound) return code;
  code = FindSpelling(parent, name, EntryKind::kKey, fileName);
  return code == kSuccess ? OpenPlace(parent, fileName, place) : code;
}

Code MakeLevel(int parent, WideView name, FileDescriptor& place, std::string& fileName) {
  if (const Code code = OpenLevel(parent, name, place, fileName); code != kFileNotFound)
    return code;
  fileName = FileNameOf(name, EntryKind::kKey);
  if (mkdirat(parent, fileName.c_str(), 0755) != 0 && errno != EEXIST) return CodeFromErrno(errno);
  return OpenPlace(parent, fileName, place);
}

using LevelStep = Code (*)(int parent, WideView name, FileDescriptor& place, std::string& fileName);

// Goes down from a place, level by level.
Code Descend(FileDescriptor& place, const WideView* level, const WideView* end, LevelStep step) {
  std::string fileName;
  for (; level != end; ++level) {
    FileDescriptor next;
    if (const Code code = step(place.Get(), *level, next, fileName); code != kSuccess) return code;
    place = std::move(next);
  }
  return kSuccess;
}

bool Allows(int place, int mode) { return faccessat(place, ".", mode | X_OK, AT_EACCESS) == 0; }

Code CheckAccess(int place, std::uint32_t access) {
  if ((access & kReadRights) != 0 && !Allows(place, R_OK)) return kAccessDenied;
  if ((access & kWriteRights) != 0 && !Allows(place, W_OK)) return kAccessDenied;
  return kSuccess;
}

Code OpenKey(const WideString& path, std::uint32_t access, bool make, RegistryKey& key) {
  key = nullptr;
  if (HasNul(path)) return kInvalidParameter;
  FileDescriptor place;
  Code code = make ? MakeHive(place) : OpenHive(place);
  if (code != kSuccess) return code;
  const std::vector<WideView> levels = LevelsOf(path);
  code = Descend(place, levels.data(), levels.data() + levels.size(), make ? MakeLevel : OpenLevel);
  if (code == kSuccess) code = CheckAccess(place.Get(), access);
  if (code == kSuccess) key = new RegistryKeyObject{std::move(place), access};
  return code;
}

// Whether an operation that needs a right may go on.
Code CheckKey(RegistryKey key, std::uint32_t right) {
  if (key == nullptr) return kInvalidHandle;
  if ((key->access & right) != right) return kAccessDenied;
  struct stat status {};
  if (fstat(key->directory.Get(), &status) != 0) return CodeFromErrno(errno);
  return status.st_nlink == 0 ? kKeyDeleted : kSuccess;
}

Code CheckKey(RegistryKey key, std::uint32_t right, const WideString& name) {
  const Code code = CheckKey(key, right);
  return code == kSuccess && HasNul(name) ? kInvalidParameter : code;
}

// ---- Removal of keys ----

enum class Subkeys { kRefuse, kRemove };

Code RemoveKeyAt(int parent, const std::string& fileName, Subkeys subkeys);

Code RemoveContents(int place, Subkeys subkeys) {
  std::vector<Entry> entries;
  if (const Code code = ReadEntries(place, entries); code != kSuccess) return code;
  const auto isKey = [](const Entry& entry) { return entry.kind == EntryKind::kKey; };
  if (subkeys == Subkeys::kRefuse && std::any_of(entries.begin(), entries.end(), isKey))
    return kAccessDenied;
  for (const Entry& entry : entries) {
    Code code = kSuccess;
    if (isKey(entry))
      code = RemoveKeyAt(place, entry.fileName, subkeys);
    else if (unlinkat(place, entry.fileName.c_str(), 0) != 0)
      code = CodeFromErrno(errno);
    // Somebody else may be removing as well.
    if (code != kSuccess && code != kFileNotFound) return code;
  }
  return kSuccess;
}

Code RemoveKeyAt(int parent, const std::string& fileName, Subkeys subkeys) {
  FileDescriptor place;
  if (const Code code = OpenPlace(parent, fileName, place); code != kSuccess) return code;
  // Asked first, so that a key that can't go keeps its values.
  if (!Allows(parent, W_OK) || !Allows(place.Get(), R_OK | W_OK)) return kAccessDenied;
  for (;;) {
    if (const Code code = RemoveContents(place.Get(), subkeys); code != kSuccess) return code;
    if (unlinkat(parent, fileName.c_str(), AT_REMOVEDIR) == 0) return kSuccess;
    // Not empty: something was stored there in the meantime, which goes with the key.
    if (errno != ENOTEMPTY && errno != EEXIST) return CodeFromErrno(errno);
  }
}

Code RemoveKeyBelow(FileDescriptor place, const WideString& path, Subkeys subkeys) {
  const std::vector<WideView> levels = LevelsOf(path);
  if (levels.empty() || HasNul(path)) return kInvalidParameter;
  const WideView* last = &levels.back();
  if (const Code code = Descend(place, levels.data(), last, OpenLevel); code != kSuccess)
    return code;
  FileDescriptor key;
  std::string fileName;
  const Code code = OpenLevel(place.Get(), *last, key, fileName);
  return code == kSuccess ? RemoveKeyAt(place.Get(), fileName, subkeys) : code;
}

// ---- Values ----

struct ValueHead {
  std::uint32_t type;
  std::uint32_t size;  // bytes of data that follow
};

constexpr std::string_view kMagic = "LRV1";
constexpr std::size_t kHeadSize = 12;  // the magic, type and size, little-endian
using HeadBytes = std::array<unsigned char, kHeadSize>;

void PutNumber(unsigned char* bytes, std::uint32_t number) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(number >> 8 * i);
}

std::uint32_t GetNumber(const unsigned char* bytes) {
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i) number |= std::uint32_t{bytes[i]} << 8 * i;
  return number;
}

// Fewer bytes than asked for only at the end of the file.
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
    const ssize_t put = write(file, next, size);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return CodeFromErrno(errno);
    next += put;
    size -= static_cast<std::size_t>(put);
  }
  return kSuccess;
}

Code ReadHead(int file, ValueHead& head) {
  struct stat status {};
  if (fstat(file, &status) != 0) return CodeFromErrno(errno);
  if (!S_ISREG(status.st_mode)) return kRegistryCorrupt;
  HeadBytes bytes;
  if (const Code code = ReadBytes(file, bytes.data(), bytes.size()); code != kSuccess) return code;
  head = {GetNumber(&bytes[4]), GetNumber(&bytes[8])};
  const bool isWhole = std::memcmp(bytes.data(), kMagic.data(), kMagic.size()) == 0 &&
                       status.st_size == static_cast<off_t>(kHeadSize) + off_t{head.size};
  return isWhole ? kSuccess : kRegistryCorrupt;
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

// The file name that a value has, or is to have when there is none.
Code PlaceValue(int directory, WideView name, std::string& fileName) {
  fileName = FileNameOf(name, EntryKind::kValue);
  struct stat status {};
  if (fstatat(directory, fileName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return kSuccess;
  if (errno != ENOENT) return CodeFromErrno(errno);
  const Code code = FindSpelling(directory, name, EntryKind::kValue, fileName);
  return code == kFileNotFound ? kSuccess : code;
}

// A new file beside the place that it is for; gone again unless it gets there.
class TemporaryFile {
 public:
  explicit TemporaryFile(int directoryPlace) : directory(directoryPlace) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (file.IsOpen() && !arrived) unlinkat(directory, name.c_str(), 0);
  }

  Code Make() {
    static std::atomic<std::uint64_t> count{0};
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    do {
      name = ".tmp-" + std::to_string(getpid()) + "-" + std::to_string(++count);
      file = FileDescriptor(openat(directory, name.c_str(), kFlags, 0644));
    } while (!file.IsOpen() && errno == EEXIST);
    return file.IsOpen() ? kSuccess : CodeFromErrno(errno);
  }

  Code Write(const void* data, std::size_t size) const {
    return WriteBytes(file.Get(), data, size);
  }

  Code MoveTo(const std::string& fileName) {
    if (fsync(file.Get()) != 0) return CodeFromErrno(errno);
    arrived = renameat(directory, name.c_str(), directory, fileName.c_str()) == 0;
    return arrived ? kSuccess : CodeFromErrno(errno);
  }

 private:
  int directory;
  std::string name;
  FileDescriptor file;
  bool arrived = false;
};

Code StoreValue(int directory, const std::string& fileName, ValueHead head, const void* data) {
  HeadBytes bytes;
  std::memcpy(bytes.data(), kMagic.data(), kMagic.size());
  PutNumber(&bytes[4], head.type);
  PutNumber(&bytes[8], head.size);
  TemporaryFile file(directory);
  Code code = file.Make();
  if (code == kSuccess) code = file.Write(bytes.data(), bytes.size());
  if (code == kSuccess) code = file.Write(data, head.size);
  return code == kSuccess ? file.MoveTo(fileName) : code;
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
  Code code = CheckKey(key, kKeyQueryValue, name);
  if (code != kSuccess) return code;
  FileDescriptor file;
  ValueHead head{};
  code = OpenValue(key->directory.Get(), name, file);
  if (code == kSuccess) code = ReadHead(file.Get(), head);
  if (code != kSuccess) return code;
  if (data != nullptr && head.size > size) code = kMoreData;
  if (data != nullptr && head.size <= size) code = ReadBytes(file.Get(), data, head.size);
  if (code != kSuccess && code != kMoreData) return code;
  type = head.type;
  size = head.size;
  return code;
}

Code SetRegistryValue(RegistryKey key, const WideString& name, std::uint32_t type, const void* data,
                      std::uint32_t size) {
  Code code = CheckKey(key, kKeySetValue, name);
  if (code != kSuccess) return code;
  if (data == nullptr && size > 0) return kInvalidParameter;
  std::string fileName;
  code = PlaceValue(key->directory.Get(), name, fileName);
  return code == kSuccess ? StoreValue(key->directory.Get(), fileName, {type, size}, data) : code;
}

Code RemoveRegistryValue(RegistryKey key, const WideString& name) {
  Code code = CheckKey(key, kKeySetValue, name);
  if (code != kSuccess) return code;
  std::string fileName = FileNameOf(name, EntryKind::kValue);
  if (unlinkat(key->directory.Get(), fileName.c_str(), 0) == 0) return kSuccess;
  if (errno != ENOENT) return CodeFromErrno(errno);
  code = FindSpelling(key->directory.Get(), name, EntryKind::kValue, fileName);
  if (code != kSuccess) return code;
  return unlinkat(key->directory.Get(), fileName.c_str(), 0) == 0 ? kSuccess : CodeFromErrno(errno);
}

Code RegistrySubkeyName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                        std::uint32_t& length) {
  const Code code = CheckKey(key, kKeyEnumerateSubKeys);
  if (code != kSuccess) return code;
  return GiveName(key->directory.Get(), EntryKind::kKey, index, name, length);
}

Code RegistryValueName(RegistryKey key, std::uint32_t index, LarderWideChar* name,
                       std::uint32_t& length) {
  const Code code = CheckKey(key, kKeyQueryValue);
  if (code != kSuccess) return code;
  return GiveName(key->directory.Get(), EntryKind::kValue, index, name, length);
}

Code RemoveRegistryTree(const WideString& path) {
  FileDescriptor hive;
  if (const Code code = OpenHive(hive); code != kSuccess) return code;
  return RemoveKeyBelow(std::move(hive), path, Subkeys::kRemove);
}

Code RemoveRegistryKey(RegistryKey parent, const WideString& name) {
  // As on Windows, the rights that the parent was opened with don't matter here.
  if (const Code code = CheckKey(parent, 0); code != kSuccess) return code;
  FileDescriptor place(fcntl(parent->directory.Get(), F_DUPFD_CLOEXEC, 0));
  if (!place.IsOpen()) return CodeFromErrno(errno);
  return RemoveKeyBelow(std::move(place), name, Subkeys::kRefuse);
}

}  // namespace larder::platform
