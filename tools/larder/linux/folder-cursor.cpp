#include "tools/larder/scan/folder-cursor.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <utility>

#include "platform/linux/directory-stream.h"
#include "platform/linux/file-descriptor.h"
#include "platform/linux/native.h"
#include "tools/larder/cli/path.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::DirectoryStream;
using platform::kSuccess;

// The folders nearest to the root stay open, so that nobody can cut off the rest of a tree by
// moving a deep folder. Of those below, only the current one and the one above it are open: the way
// up leads through the current one only if others below it could be entered.
constexpr std::size_t kStayOpen = 14;

constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

struct Identity {
  dev_t device;
  ino_t number;
};

// Nothing if the folder isn't open or can't be queried.
std::optional<Identity> IdentityOf(int folder) {
  struct stat status {};
  if (fstat(folder, &status) != 0) return std::nullopt;
  return Identity{status.st_dev, status.st_ino};
}

struct Level {
  std::optional<DirectoryStream> stream;  // empty while the folder is closed
  std::optional<Identity> identity;       // of a closed folder
  std::size_t pathSize = 0;               // of the path up to the folder's name, inclusive

  [[nodiscard]] int Descriptor() const { return stream ? stream->Descriptor() : -1; }
};

EntryKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return EntryKind::kRegular;
  if (S_ISDIR(mode)) return EntryKind::kFolder;
  return S_ISLNK(mode) ? EntryKind::kLink : EntryKind::kOther;
}

void AddEntry(int folder, const char* name, std::vector<FolderEntry>& entries) {
  struct stat status {};
  FolderEntry entry;
  if (fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
    entry.kind = KindOf(status.st_mode);
    entry.size = static_cast<std::uint64_t>(status.st_size);
    entry.volume = status.st_dev;
  } else if (errno != ENOENT) {
    entry.code = platform::CodeFromErrno(errno);
  } else {
    return;
  }
  entry.name = name;
  entries.push_back(std::move(entry));
}

Code OpenStream(int folder, const char* name, int flags, std::optional<DirectoryStream>& stream) {
  DirectoryStream opened;
  const Code code = opened.Open(platform::FileDescriptor(openat(folder, name, kFlags | flags)));
  if (code == kSuccess) stream = std::move(opened);
  return code;
}

void Close(Level& level) {
  if (level.stream) level.identity = IdentityOf(level.Descriptor());
  level.stream.reset();
}

// Opens the folder above the current one if it is closed, unless the current one has been moved.
void Reopen(const Level& current, Level& above) {
  if (above.stream) return;
  std::optional<DirectoryStream> opened;
  if (OpenStream(current.Descriptor(), "..", 0, opened) != kSuccess) return;
  const auto found = IdentityOf(opened->Descriptor());
  const auto& wanted = above.identity;
  if (found && wanted && found->device == wanted->device && found->number == wanted->number)
    above.stream = std::move(opened);
}

}  // namespace

struct FolderCursor::State {
  std::vector<Level> levels;  // from the root to the current folder
  std::string path;           // of the current folder, with a separator at its end
  std::uint64_t volume = 0;
};

FolderCursor::FolderCursor() : state(std::make_unique<State>()) {}
FolderCursor::~FolderCursor() = default;

Code FolderCursor::Open(const std::string& given, const WideString& full) {
  Level root;
  const Code code = OpenStream(AT_FDCWD, given.c_str(), 0, root.stream);
  if (code != kSuccess) return code;
  const auto identity = IdentityOf(root.Descriptor());
  state->volume = identity ? identity->device : 0;
  state->path = PathText(full);
  if (!state->path.ends_with('/')) state->path += '/';
  root.pathSize = state->path.size();
  state->levels.clear();
  state->levels.push_back(std::move(root));
  return kSuccess;
}

Code FolderCursor::Enter(const std::string& name) {
  Level& above = state->levels.back();
  if (!above.stream) return platform::kPathNotFound;  // the system has no other name for it
  Level level;
  const Code code = OpenStream(above.Descriptor(), name.c_str(), O_NOFOLLOW, level.stream);
  if (code != kSuccess) return code;
  state->path += name + '/';
  level.pathSize = state->path.size();
  state->levels.push_back(std::move(level));
  if (state->levels.size() > kStayOpen + 2) Close(state->levels[state->levels.size() - 3]);
  return kSuccess;
}

void FolderCursor::Leave() {
  std::vector<Level>& levels = state->levels;
  levels.pop_back();
  if (levels.empty()) return;
  state->path.resize(levels.back().pathSize);
  if (levels.size() > 1) Reopen(levels.back(), levels[levels.size() - 2]);
}

Code FolderCursor::List(std::vector<FolderEntry>& entries) {
  entries.clear();
  DirectoryStream& stream = *state->levels.back().stream;
  for (const dirent* entry = nullptr;;) {
    const Code code = stream.ReadNext(entry);
    if (code != kSuccess || entry == nullptr) return code;
    if (!platform::IsDots(*entry)) AddEntry(stream.Descriptor(), entry->d_name, entries);
  }
}

Code FolderCursor::PathOf(const std::string& name, WideString& path) const {
  if (state->path.size() + name.size() >= PATH_MAX) return platform::kNameTooLong;
  return platform::WidePath(state->path + name, path);
}

std::uint64_t FolderCursor::Volume() const { return state->volume; }

}  // namespace larder::tool
