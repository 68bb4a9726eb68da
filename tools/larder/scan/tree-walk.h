// The regular files below folders.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/folder.h"
#include "support/scoped-handles.h"

namespace larder::tool {

struct FoundFile {
  std::string path;        // the root as it was given, and "/" and the rest of the path below it
  std::uint64_t size = 0;  // bytes when it was found
  std::string error;       // why a folder or a root can't be read; empty for a file
};

// Returns the files one after the other: depth first, sorted by the bytes of their names within a
// folder, so that an unchanged tree gives the same list every time. A link is followed if it is a
// root, and never below one, so there are no loops; a file below two roots is returned twice.
// Memory grows with the number of entries of the folders from the root to the current one. Not
// thread-safe.
class TreeWalk {
 public:
  // roots: folders, or files, which are returned themselves; UTF-8. isStopped is called before each
  // step, and ends the walk.
  TreeWalk(std::vector<std::string> newRoots, std::function<bool()> newIsStopped);

  // False at the end.
  [[nodiscard]] bool Next(FoundFile& found);

  // The number of entries skipped so far: links, and what is neither file, folder nor link. May be
  // called from any thread.
  [[nodiscard]] std::uint64_t Links() const { return links; }
  [[nodiscard]] std::uint64_t Specials() const { return specials; }

 private:
  struct Level {
    std::string folder;  // with a separator at its end
    std::vector<platform::FolderEntry> entries;
    std::size_t next = 0;
  };

  // These return true if there is something to report, in found.
  bool Advance(FoundFile& found);
  bool EnterRoot(std::string root, FoundFile& found);
  bool EnterFolder(std::string folder, FoundFile& found);
  bool TakeEntry(const std::string& folder, const platform::FolderEntry& entry, FoundFile& found);

  const std::vector<std::string> roots;
  const std::function<bool()> isStopped;
  std::size_t nextRoot = 0;
  std::vector<Level> levels;  // from the root to the current folder
  std::atomic<std::uint64_t> links = 0;
  std::atomic<std::uint64_t> specials = 0;
};

struct Amount {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
};

// Counts the files and bytes of trees in advance, on a thread of its own, without opening a file.
class TreeCount {
 public:
  // If the system can't start a thread, the total stays unknown.
  explicit TreeCount(std::vector<std::string> newRoots);
  ~TreeCount();  // stops the walk
  TreeCount(const TreeCount&) = delete;
  TreeCount& operator=(const TreeCount&) = delete;

  // Nothing until the walk has ended. May be called from any thread.
  [[nodiscard]] std::optional<Amount> Total() const;

 private:
  static void Run(void* count) noexcept;
  void Count();

  const std::vector<std::string> roots;
  std::atomic<bool> isStopped = false;
  std::atomic<bool> isDone = false;
  Amount total;  // belongs to the thread until isDone
  AutoHandle thread;
};

}  // namespace larder::tool
