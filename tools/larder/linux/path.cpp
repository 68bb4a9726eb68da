#include "tools/larder/cli/path.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include "platform/linux/native.h"
#include "platform/wide.h"

namespace larder::tool {
namespace {

struct Free {
  void operator()(char* text) const noexcept { free(text); }
};

platform::Code CurrentDirectory(std::string& path) {
  const std::unique_ptr<char, Free> directory(getcwd(nullptr, 0));
  if (!directory) return platform::CodeFromErrno(errno);
  path = directory.get();
  // The kernel puts "(unreachable)" in front of a directory outside the process's root.
  return path.front() == '/' ? platform::kSuccess : platform::kPathNotFound;
}

std::string WithoutIdleParts(std::string_view path) {
  std::string result;
  while (!path.empty()) {
    const std::size_t end = path.find('/');
    const std::string_view part = path.substr(0, end);
    if (!part.empty() && part != ".") result.append("/").append(part);
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
  }
  return result.empty() ? "/" : result;
}

}  // namespace

platform::Code FullPath(const std::string& utf8Path, WideString& path) {
  if (utf8Path.empty() || utf8Path.find('\0') != std::string::npos) return platform::kInvalidName;
  std::string full;
  if (utf8Path.front() != '/') {
    if (const platform::Code code = CurrentDirectory(full); code != platform::kSuccess) return code;
    full += '/';
  }
  return platform::WidePath(WithoutIdleParts(full + utf8Path), path);
}

std::string PathText(const WideString& path) {
  std::string text = platform::Utf8FromWide(path);
  std::replace(text.begin(), text.end(), '\\', '/');
  return text;
}

std::string ShownPath(const std::string& given, const WideString&) { return given; }

std::string FolderText(const std::string& shown) {
  return shown.ends_with('/') ? shown : shown + '/';
}

char Separator() { return '/'; }

}  // namespace larder::tool
