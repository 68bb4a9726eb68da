// The regular files below folders, one after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/folder.h"

namespace larder::tool {

struct FoundFile {
  std::string path;        // as the root was given, and what lies below it behind a "/"
  std::uint64_t size = 0;  // bytes when it was found
  std::string error;       // what keeps a folder, or a root, from being read; empty for a file
};

// Depth first, by the names' bytes within a folder, so that a tree that stays the same gives the
// same list each time. A link is followed when it is a root itself and never below one, so there
// are no loops; what is reached from two roots is found twice. Holds the entries of the folders on
// the way to the current one, and nothing else. One thread at a time.
class TreeWalk {
 public:
  // roots: folders, or files, which are found as they stand; UTF-8. isStopped is asked before each
  // step, and ends the walk.
  TreeWalk(std::vector<std::string> newRoots, std::function<bool()> newIsStopped);

  // False at the end.
  [[nodiscard]] bool Next(FoundFile& found);

  // What was passed over so far.
  [[nodiscard]] std::uint64_t Links() const { return links; }
  [[nodiscard]] std::uint64_t Specials() const { return specials; }

 private:
  struct Level {
    std::string folder;  // with a separator at its end
    std::vector<platform::FolderEntry> entries;
    std::size_t next = 0;
  };

  // True when there is something to report, in found.
  bool Step(FoundFile& found);
  bool EnterRoot(std::string root, FoundFile& found);
  bool EnterFolder(std::string folder, FoundFile& found);
  bool TakeEntry(const std::string& folder, const platform::FolderEntry& entry, FoundFile& found);

  const std::vector<std::string> roots;
  const std::function<bool()> isStopped;
  std::size_t nextRoot = 0;
  std::vector<Level> levels;  // from the root to the current folder
  std::uint64_t links = 0;
  std::uint64_t specials = 0;
};

}  // namespace larder::tool
