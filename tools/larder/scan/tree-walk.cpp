#include "tools/larder/scan/tree-walk.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/message.h"
#include "platform/thread.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/query/file-query.h"

namespace larder::tool {
namespace {

bool ByName(const platform::FolderEntry& one, const platform::FolderEntry& other) {
  return one.name < other.name;
}

// In the system's own separator, or in "/", which every system accepts.
bool EndsInSeparator(const std::string& path) {
  return path.ends_with('/') || PathText(LARDER_WIDE("\\")).front() == path.back();
}

// Follows links.
platform::Code QueryRoot(const std::string& root, bool& isFolder, std::uint64_t& size) {
  WideString path;
  std::uint32_t attributes = 0;
  platform::Code code = FullPath(root, path);
  if (code == platform::kSuccess) code = platform::PathAttributes(path, attributes);
  if (code != platform::kSuccess) return code;
  isFolder = (attributes & platform::kAttributeDirectory) != 0;
  if (!isFolder) size = FileInfoOf(path).size;
  return code;
}

}  // namespace

TreeWalk::TreeWalk(std::vector<std::string> newRoots, std::function<bool()> newIsStopped)
    : roots(std::move(newRoots)), isStopped(std::move(newIsStopped)) {}

bool TreeWalk::Next(FoundFile& found) {
  while (!isStopped() && (!levels.empty() || nextRoot < roots.size())) {
    found = {};
    if (Advance(found)) return true;
  }
  return false;
}

bool TreeWalk::Advance(FoundFile& found) {
  if (levels.empty()) return EnterRoot(roots[nextRoot++], found);
  Level& level = levels.back();
  if (level.next == level.entries.size()) {
    levels.pop_back();
    return false;
  }
  const platform::FolderEntry entry = std::move(level.entries[level.next++]);
  return TakeEntry(level.folder, entry, found);
}

bool TreeWalk::EnterRoot(std::string root, FoundFile& found) {
  bool isFolder = false;
  const platform::Code code = QueryRoot(root, isFolder, found.size);
  if (code != platform::kSuccess) found.error = platform::SystemReason(code);
  if (code == platform::kSuccess && isFolder) return EnterFolder(std::move(root), found);
  found.path = std::move(root);
  return true;
}

bool TreeWalk::EnterFolder(std::string folder, FoundFile& found) {
  Level level;
  const platform::Code code = platform::ListFolder(folder, level.entries);
  if (code != platform::kSuccess) {
    found.path = std::move(folder);
    found.error = platform::SystemReason(code);
    return true;
  }
  std::sort(level.entries.begin(), level.entries.end(), &ByName);
  level.folder = std::move(folder);
  if (!EndsInSeparator(level.folder)) level.folder += '/';
  levels.push_back(std::move(level));
  return false;
}

bool TreeWalk::TakeEntry(const std::string& folder, const platform::FolderEntry& entry,
                         FoundFile& found) {
  std::string path = folder + entry.name;
  switch (entry.kind) {
    case platform::EntryKind::kFolder:
      return EnterFolder(std::move(path), found);
    case platform::EntryKind::kLink:
      ++links;
      return false;
    case platform::EntryKind::kOther:
      ++specials;
      return false;
    case platform::EntryKind::kRegular:
      break;
  }
  found.path = std::move(path);
  found.size = entry.size;
  return true;
}

TreeCount::TreeCount(std::vector<std::string> newRoots) : roots(std::move(newRoots)) {
  platform::StartThread(&Run, this, thread.Out());
}

TreeCount::~TreeCount() {
  isStopped = true;
  platform::WaitForThread(thread.Get());
}

std::optional<Amount> TreeCount::Total() const {
  if (!isDone) return std::nullopt;
  return total;
}

// After an exception the total stays unknown. The scan itself reports what is wrong.
void TreeCount::Run(void* count) noexcept {
  try {
    static_cast<TreeCount*>(count)->Count();
  } catch (const std::exception&) {
    return;
  }
}

void TreeCount::Count() {
  TreeWalk walk(roots, [this] { return isStopped.load(); });
  FoundFile found;
  while (walk.Next(found)) {
    if (!found.error.empty()) continue;
    ++total.files;
    total.bytes += found.size;
  }
  isDone = !isStopped;
}

}  // namespace larder::tool
