// The regular files below folders.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "support/scoped-handles.h"
#include "tools/larder/scan/folder-cursor.h"
#include "tools/larder/scan/path-pattern.h"

namespace larder::tool {

// What a walk passes over, beside links and special files. No rule is applied to a root.
struct WalkRules {
  std::vector<PathPattern> excluded;                                  // relative to the root
  std::uint64_t maxSize = std::numeric_limits<std::uint64_t>::max();  // of a file
  bool isOneFileSystem = false;  // pass over folders on another file system than the root's
  bool includesRemote = false;   // take files whose content is on another machine, too
};

// The number of entries that a walk passed over.
struct PassedOver {
  using Count = std::atomic<std::uint64_t>;

  Count links = 0;
  Count specials = 0;  // neither file nor folder nor link
  Count excluded = 0;
  Count larger = 0;
  Count mounts = 0;
  Count remote = 0;
};

struct FoundFile {
  // To be shown: the root as it was given, and the rest of the path below it. If programs can't
  // find the file by that (on Windows, because of an odd name), the full path.
  std::string path;
  WideString fullPath;     // as the library takes it
  std::uint64_t size = 0;  // bytes when it was found
  std::string error;       // why the entry can't be scanned; empty for a file
  bool isBadPath = false;  // the error is that the library's paths can't express this one
};

// Returns the files one after the other: depth first, sorted by the bytes of their names within a
// folder, so that an unchanged tree gives the same list every time. A link is followed if it is a
// root, and never below one, so there are no loops; a file below two roots is returned twice. An
// entry that can't be queried, listed or expressed is returned with its error, and the walk goes
// on. Memory grows with the number of entries of the folders from the root to the current one. Not
// thread-safe.
class TreeWalk {
 public:
  // roots: folders, or files, which are returned themselves; UTF-8. isStopped is called before each
  // step, and ends the walk.
  TreeWalk(std::vector<std::string> newRoots, WalkRules newRules,
           std::function<bool()> newIsStopped);

  // False at the end.
  [[nodiscard]] bool Next(FoundFile& found);

  // So far. May be called from any thread.
  [[nodiscard]] const PassedOver& Passed() const { return passed; }

 private:
  struct Level {
    std::vector<FolderEntry> entries;
    std::size_t next = 0;
    std::size_t pathSize = 0;  // of the shown path of the folder, with the separator at its end
  };

  // These return true if there is something to report, in found.
  bool Advance(FoundFile& found);
  bool EnterRoot(const std::string& root, FoundFile& found);
  bool TakeEntry(const FolderEntry& entry, FoundFile& found);
  bool EnterFolder(const std::string& name, FoundFile& found);
  bool ListFolder(FoundFile& found);

  void LeaveFolder();
  // The counter of the rule by which an entry is passed over; null if it isn't.
  PassedOver::Count* RuleAgainst(const FolderEntry& entry);
  [[nodiscard]] bool IsExcluded(const std::string& name) const;

  const std::vector<std::string> roots;
  const WalkRules rules;
  const std::function<bool()> isStopped;
  std::size_t nextRoot = 0;
  FolderCursor cursor;
  std::vector<Level> levels;  // from the root to the current folder
  std::string shown;          // the path of the current folder, with a separator at its end
  PassedOver passed;
};

struct Amount {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
};

// Counts the files and bytes of trees in advance, on a thread of its own, without opening a file.
class TreeCount {
 public:
  // If the system can't start a thread, the total stays unknown.
  TreeCount(std::vector<std::string> newRoots, WalkRules newRules);
  ~TreeCount();  // stops the walk
  TreeCount(const TreeCount&) = delete;
  TreeCount& operator=(const TreeCount&) = delete;

  // Nothing until the walk has ended. May be called from any thread.
  [[nodiscard]] std::optional<Amount> Total() const;

 private:
  static void Run(void* count) noexcept;
  void Count();

  const std::vector<std::string> roots;
  const WalkRules rules;
  std::atomic<bool> isStopped = false;
  std::atomic<bool> isDone = false;
  Amount total;  // belongs to the thread until isDone
  AutoHandle thread;
};

}  // namespace larder::tool
