#include "tools/larder/cli/path.h"

#include <windows.h>

#include <algorithm>

#include "platform/wide.h"
#include "platform/windows/native.h"

namespace larder::tool {
namespace {

// Where the names begin, behind "C:", "C:\", "\" or "\\server\share".
std::size_t NamesStart(WideView path) {
  if (path.substr(1, 1) == L":") return path.substr(2, 1) == L"\\" ? 3 : 2;
  if (!path.starts_with(L"\\\\")) return path.starts_with(L'\\') ? 1 : 0;
  const std::size_t server = path.find(L'\\', 2);
  const std::size_t share = server == WideView::npos ? server : path.find(L'\\', server + 1);
  return std::min(share, path.size());
}

// Appends the names to a path, whose first rootSize units stay.
void AppendNames(WideView names, std::size_t rootSize, WideString& path) {
  while (!names.empty()) {
    const WideView name = names.substr(0, names.find(L'\\'));
    names.remove_prefix(std::min(name.size() + 1, names.size()));
    if (name == L"..") {
      path.resize(std::max(rootSize, std::min(path.rfind(L'\\'), path.size())));
    } else if (!name.empty() && name != L".") {
      if (!path.ends_with(L'\\')) path += L'\\';
      path += name;
    }
  }
}

// The path without its prefix if Windows reads that as the same one.
WideString Plain(const WideString& verbatim) {
  const bool isShare = verbatim.starts_with(L"\\\\?\\UNC\\");
  WideString plain = isShare ? L"\\" + verbatim.substr(7) : verbatim.substr(4);
  WideString full;
  const bool isSame = platform::FullNativePath(plain, full) == platform::kSuccess && full == plain;
  return isSame ? plain : verbatim;
}

}  // namespace

platform::Code FullPath(const std::string& utf8Path, WideString& path) {
  WideString given;
  if (!platform::WideFromUtf8(utf8Path, given)) return platform::kNoUnicodeTranslation;
  if (given.empty() || given.find(L'\0') != WideString::npos) return platform::kInvalidName;
  if (!platform::IsVerbatim(given)) std::replace(given.begin(), given.end(), L'/', L'\\');
  if (platform::IsVerbatim(given)) {
    path = Plain(given);
    return platform::kSuccess;
  }
  if (given.starts_with(L"\\\\.\\")) return platform::FullNativePath(given, path);
  const std::size_t start = NamesStart(given);
  WideString base;  // the current directory, or a drive's
  const platform::Code code =
      platform::FullNativePath(start == 0 ? L"." : given.substr(0, start), base);
  if (code != platform::kSuccess) return code;
  const std::size_t rootSize = NamesStart(base);
  WideString full = base.substr(0, rootSize);
  AppendNames(WideView(base).substr(rootSize), rootSize, full);
  AppendNames(WideView(given).substr(start), rootSize, full);
  path = Plain(platform::VerbatimPath(full));
  return platform::kSuccess;
}

std::string PathText(const WideString& path) { return platform::Utf8FromWide(path); }

std::string ShownPath(const std::string& given, const WideString& full) {
  std::string shown = given;
  std::replace(shown.begin(), shown.end(), '/', '\\');
  return NeedsFullPath(full) || shown.starts_with(R"(\\?\)") ? PathText(full) : shown;
}

// "C:" is the drive's current directory and "C:\" another one.
std::string FolderText(const std::string& shown) {
  const bool isDrive = shown.size() == 2 && shown.back() == ':';
  return shown.ends_with('\\') || isDrive ? shown : shown + '\\';
}

char Separator() { return '\\'; }

}  // namespace larder::tool
