#include "tools/larder/scan/tree-walk.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/folder.h"
#include "platform/message.h"
#include "platform/thread.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/query/file-query.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;

// Of a shown path. A longer one, which the library can't express anyway, is cut in the middle, so
// that results don't fill the memory.
constexpr std::size_t kMaxShown = 8192;

bool ByName(const FolderEntry& one, const FolderEntry& other) { return one.name < other.name; }

// Why the library's paths can't express a path; null for a failure of any other kind.
const char* BadPathReason(Code code) {
  switch (code) {
    case platform::kNoUnicodeTranslation:
      return "the library's paths can't express it: it isn't UTF-8";
    case platform::kInvalidName:
      return "the library's paths can't express it: a name in it has a backslash";
    case platform::kNameTooLong:
      return "the library's paths can't express it: it is longer than the system accepts";
    default:
      return nullptr;
  }
}

void SetError(Code code, bool mayBeBadPath, FoundFile& found) {
  const char* const reason = mayBeBadPath ? BadPathReason(code) : nullptr;
  found.isBadPath = reason != nullptr;
  found.error = reason != nullptr ? reason : platform::SystemReason(code);
}

// Follows links. On failure sets the error.
bool QueryRoot(const std::string& root, bool& isFolder, FoundFile& found) {
  std::uint32_t attributes = 0;
  Code code = FullPath(root, found.fullPath);
  bool mayBeBadPath = !root.empty();
  if (code == kSuccess) {
    code = platform::PathAttributes(found.fullPath, attributes);
    mayBeBadPath = code == platform::kNameTooLong;
  }
  isFolder = (attributes & platform::kAttributeDirectory) != 0;
  if (code != kSuccess) SetError(code, mayBeBadPath, found);
  return code == kSuccess;
}

std::string Joined(const std::string& folder, const std::string& name) {
  if (folder.size() + name.size() <= kMaxShown) return folder + name;
  return folder.substr(0, kMaxShown / 2) + "..." +
         folder.substr(folder.size() - kMaxShown / 2 + name.size()) + name;
}

}  // namespace

TreeWalk::TreeWalk(std::vector<std::string> newRoots, WalkRules newRules,
                   std::function<bool()> newIsStopped)
    : roots(std::move(newRoots)), rules(std::move(newRules)), isStopped(std::move(newIsStopped)) {}

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
    LeaveFolder();
    return false;
  }
  const FolderEntry entry = std::move(level.entries[level.next++]);
  return TakeEntry(entry, found);
}

bool TreeWalk::EnterRoot(const std::string& root, FoundFile& found) {
  found.path = root;
  bool isFolder = false;
  if (!QueryRoot(root, isFolder, found)) return true;
  found.path = ShownPath(root, found.fullPath);
  if (!isFolder) {
    found.size = FileInfoOf(found.fullPath).size;
    return true;
  }
  if (const Code code = cursor.Open(root, found.fullPath); code != kSuccess) {
    SetError(code, false, found);
    return true;
  }
  shown = FolderText(found.path);
  return ListFolder(found);
}

bool TreeWalk::TakeEntry(const FolderEntry& entry, FoundFile& found) {
  if (PassedOver::Count* const counter = RuleAgainst(entry); counter != nullptr) {
    ++*counter;
    return false;
  }
  const Code pathCode = cursor.PathOf(entry.name, found.fullPath);
  const bool isOdd = pathCode == kSuccess && NeedsFullPath(found.fullPath);
  found.path = isOdd ? PathText(found.fullPath) : Joined(shown, entry.name);
  if (entry.code != kSuccess) {
    SetError(entry.code, false, found);
  } else if (entry.kind == EntryKind::kFolder) {
    return EnterFolder(entry.name, found);
  } else if (pathCode != kSuccess) {
    SetError(pathCode, true, found);
  }
  found.size = entry.size;
  return true;
}

PassedOver::Count* TreeWalk::RuleAgainst(const FolderEntry& entry) {
  if (IsExcluded(entry.name)) return &passed.excluded;
  if (entry.code != kSuccess) return nullptr;
  if (entry.kind == EntryKind::kLink) return &passed.links;
  if (entry.kind == EntryKind::kOther) return &passed.specials;
  if (entry.isRemote && !rules.includesRemote) return &passed.remote;
  if (entry.kind == EntryKind::kRegular)
    return entry.size > rules.maxSize ? &passed.larger : nullptr;
  const bool isMount = entry.volume != cursor.Volume();
  return isMount && rules.isOneFileSystem ? &passed.mounts : nullptr;
}

bool TreeWalk::IsExcluded(const std::string& name) const {
  if (rules.excluded.empty()) return false;
  const std::string path = shown.substr(levels.front().pathSize) + name;
  return std::any_of(rules.excluded.begin(), rules.excluded.end(),
                     [&](const PathPattern& pattern) { return pattern.Matches(path); });
}

bool TreeWalk::EnterFolder(const std::string& name, FoundFile& found) {
  if (const Code code = cursor.Enter(name); code != kSuccess) {
    SetError(code, false, found);
    return true;
  }
  shown += name + Separator();
  return ListFolder(found);
}

// Takes what could be listed of the current folder.
bool TreeWalk::ListFolder(FoundFile& found) {
  Level& level = levels.emplace_back();
  level.pathSize = shown.size();
  const Code code = cursor.List(level.entries);
  std::sort(level.entries.begin(), level.entries.end(), &ByName);
  if (code != kSuccess) SetError(code, false, found);
  return code != kSuccess;
}

void TreeWalk::LeaveFolder() {
  cursor.Leave();
  levels.pop_back();
  if (!levels.empty()) shown.resize(levels.back().pathSize);
}

TreeCount::TreeCount(std::vector<std::string> newRoots, WalkRules newRules)
    : roots(std::move(newRoots)), rules(std::move(newRules)) {
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
  TreeWalk walk(roots, rules, [this] { return isStopped.load(); });
  FoundFile found;
  while (walk.Next(found)) {
    if (!found.error.empty() && !found.isBadPath) continue;
    ++total.files;
    total.bytes += found.size;
  }
  isDone = !isStopped;
}

}  // namespace larder::tool
