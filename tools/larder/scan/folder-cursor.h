// A position in a tree of folders, from which folders and their entries are reached by their names
// alone. On Linux each folder is opened relative to the one above it, so renamed folders and paths
// of any length don't stop a walk; at most 16 descriptors are open, however deep the tree. On
// Windows names are taken as they are, "a " and "AUX" too.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"

namespace larder::tool {

enum class EntryKind {
  kRegular,
  kFolder,
  kLink,   // a symbolic link, a junction, any other folder that the system redirects
  kOther,  // a device, a pipe, a socket
};

struct FolderEntry {
  std::string name;  // UTF-8; on Linux the bytes of the name, even if they aren't UTF-8
  EntryKind kind = EntryKind::kOther;
  std::uint64_t size = 0;    // bytes of a regular file
  std::uint64_t volume = 0;  // as FolderCursor::Volume
  bool isRemote = false;     // reading it gets its content from another machine (Windows)
  // Why the entry can't be queried: then it has a name only. kSuccess otherwise.
  platform::Code code = platform::kSuccess;
};

// Not thread-safe.
class FolderCursor {
 public:
  FolderCursor();
  ~FolderCursor();
  FolderCursor(const FolderCursor&) = delete;
  FolderCursor& operator=(const FolderCursor&) = delete;

  // Goes to a folder, the root. Follows links. given: relative to the current directory. full: its
  // FullPath.
  [[nodiscard]] platform::Code Open(const std::string& given, const WideString& full);

  // Goes from the current folder to one in it. Doesn't follow links. On failure the position stays.
  [[nodiscard]] platform::Code Enter(const std::string& name);

  // Goes back to the folder above. At the root: to none.
  void Leave();

  // The entries of the current folder except "." and "..", in the system's order. An entry that is
  // removed meanwhile may be missing. On failure, entries has those that were read before.
  [[nodiscard]] platform::Code List(std::vector<FolderEntry>& entries);

  // The full path of an entry of the current folder, as the library takes it. On Linux
  // kNoUnicodeTranslation if it isn't UTF-8, kInvalidName if it has a backslash, and kNameTooLong
  // if it is longer than the system accepts.
  [[nodiscard]] platform::Code PathOf(const std::string& name, WideString& path) const;

  // The file system that holds the root. 0 on Windows, where a folder on another one is a link.
  [[nodiscard]] std::uint64_t Volume() const;

 private:
  struct State;
  const std::unique_ptr<State> state;
};

}  // namespace larder::tool
