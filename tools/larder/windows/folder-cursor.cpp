#include "tools/larder/scan/folder-cursor.h"

#include <windows.h>

#include <memory>
#include <string_view>
#include <utility>

#include "platform/windows/native.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/windows/folder-entry.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;

struct CloseSearch {
  void operator()(HANDLE search) const noexcept { FindClose(search); }
};

}  // namespace

struct FolderCursor::State {
  WideString path;                 // of the current folder, verbatim, with a separator at its end
  std::vector<std::size_t> sizes;  // of the path of each folder from the root to the current one
};

FolderCursor::FolderCursor() : state(std::make_unique<State>()) {}
FolderCursor::~FolderCursor() = default;

Code FolderCursor::Open(const std::string&, const WideString& full) {
  state->path = platform::VerbatimPath(full);
  if (!state->path.ends_with(L'\\')) state->path += L'\\';
  state->sizes = {state->path.size()};
  return kSuccess;
}

Code FolderCursor::Enter(const std::string& name) {
  WideString wide;
  if (!platform::WideFromUtf8(name, wide)) return platform::kNoUnicodeTranslation;
  state->path += wide + L'\\';
  state->sizes.push_back(state->path.size());
  return kSuccess;
}

void FolderCursor::Leave() {
  state->sizes.pop_back();
  if (!state->sizes.empty()) state->path.resize(state->sizes.back());
}

Code FolderCursor::List(std::vector<FolderEntry>& entries) {
  entries.clear();
  WIN32_FIND_DATAW entry;
  const HANDLE first = FindFirstFileW((state->path + L'*').c_str(), &entry);
  if (first == INVALID_HANDLE_VALUE) {
    const Code code = platform::LastError();
    // The root of a volume has no "." and "..".
    return code == ERROR_FILE_NOT_FOUND ? kSuccess : code;
  }
  const std::unique_ptr<void, CloseSearch> search(first);
  do {
    const std::wstring_view name = entry.cFileName;
    if (name != L"." && name != L"..") entries.push_back(EntryOf(entry));
  } while (FindNextFileW(search.get(), &entry) != FALSE);
  const Code code = platform::LastError();
  return code == ERROR_NO_MORE_FILES ? kSuccess : code;
}

Code FolderCursor::PathOf(const std::string& name, WideString& path) const {
  return FullPath(platform::Utf8FromWide(state->path) + name, path);
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): it has an object's value on Linux
std::uint64_t FolderCursor::Volume() const { return 0; }

}  // namespace larder::tool
