#include "platform/folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/linux/directory-stream.h"
#include "platform/linux/native.h"
#include "platform/linux/upper-case.h"
#include "platform/wide.h"
#include "platform/wildcard.h"

namespace larder::platform {
namespace {

constexpr mode_t kFolderMode = 0755;
constexpr std::uint32_t kAttributeNormal = 0x80;

Code CreateNativeFolder(const std::string& path) {
  if (mkdir(path.c_str(), kFolderMode) == 0) return kSuccess;
  // It is a folder above that is missing.
  return errno == ENOENT ? kPathNotFound : CodeFromErrno(errno);
}

Code CheckFolder(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return CodeFromErrno(errno);
  return S_ISDIR(status.st_mode) ? kSuccess : kPathNotFound;
}

// Every system has these folders, but a machine root other than "/" may not have them yet. The
// umask has no effect on them.
Code CreateInMachineRoot(const std::string& root, const char* first, const char* second) {
  std::string path = root;
  for (const char* level : {first, second}) {
    const Code code = CreateNativeFolder(path += level);
    if (code == kSuccess) static_cast<void>(chmod(path.c_str(), kFolderMode));
    if (code != kSuccess && code != kAlreadyExists) return code;
  }
  return kSuccess;
}

// Whether a name matches a pattern; both in upper case.
bool Matches(WideView pattern, WideView name) {
  const auto isRun = [&](std::size_t p) { return pattern[p] == u'*'; };
  const auto take = [&](std::size_t p, std::size_t n) -> std::size_t {
    return pattern[p] == u'?' || pattern[p] == name[n] ? 1 : 0;
  };
  const auto length = [](std::size_t) -> std::size_t { return 1; };
  return MatchesWildcards(pattern.size(), name.size(), isRun, take, length);
}

// False for a name that isn't UTF-8, or that contains a backslash: its wide form would be a path.
bool NameOf(const dirent& entry, WideString& name) {
  return WideFromUtf8(entry.d_name, name) && name.find(u'\\') == WideString::npos;
}

Code FindInFolder(const char* folder, WideView pattern, std::vector<WideString>& names) {
  DirectoryStream stream;
  Code code = stream.Open(folder);
  if (code != kSuccess) return code == kFileNotFound ? kPathNotFound : code;
  UpperCase upperCase;
  const WideString wanted = upperCase.Of(pattern);
  const dirent* entry = nullptr;
  while ((code = stream.ReadNext(entry)) == kSuccess && entry != nullptr) {
    WideString name;
    if (NameOf(*entry, name) && Matches(wanted, upperCase.Of(name)))
      names.push_back(std::move(name));
  }
  return code;
}

}  // namespace

Code CommonFolderPath(CommonFolder folder, WideString& path) {
  const bool isData = folder == CommonFolder::kData;
  const std::string root = MachineRoot();
  const char* first = isData ? "/var" : "/usr";
  if (!root.empty()) {
    if (const Code code = CreateInMachineRoot(root, first, "/lib"); code != kSuccess) return code;
  }
  const std::string native = root + first + "/lib";
  if (const Code code = CheckFolder(native); code != kSuccess) return code;
  return WidePath(native, path);
}

Code PathAttributes(const WideString& path, std::uint32_t& attributes) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  struct stat status {};
  if (stat(native.c_str(), &status) != 0) return CodeFromErrno(errno);
  attributes = S_ISDIR(status.st_mode) ? kAttributeDirectory : kAttributeNormal;
  return kSuccess;
}

Code MakeFolder(const WideString& path) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  return CreateNativeFolder(native);
}

Code FindNames(const WideString& pattern, std::vector<WideString>& names) {
  const std::size_t nameAt = pattern.rfind(u'\\') + 1;  // npos + 1 is 0
  std::string folder;
  if (const Code code = NativePath(pattern, folder); code != kSuccess) return code;
  if (const Code code = NativePath(WideView(pattern).substr(0, nameAt), folder); code != kSuccess)
    return code;
  std::vector<WideString> found;
  const char* directory = folder.empty() ? "." : folder.c_str();
  const Code code = FindInFolder(directory, WideView(pattern).substr(nameAt), found);
  if (found.empty()) return code == kSuccess ? kFileNotFound : code;
  names = std::move(found);
  return code;
}

Code DeleteTree(const LarderWideChar* source) {
  std::string native;
  if (const Code code = NativePath(source, native); code != kSuccess) return code;
  // With a trailing slash the system would follow a link.
  while (native.size() > 1 && native.ends_with('/')) native.pop_back();
  std::error_code error;
  const auto removed = std::filesystem::remove_all(native, error);
  if (error) return CodeFromErrno(error.value());
  return removed == 0 ? kFileNotFound : kSuccess;
}

bool IsFolderEmpty(const WideString& path) {
  std::string native;
  if (NativePath(path, native) != kSuccess) return false;
  DirectoryStream stream;
  if (stream.Open(native.c_str()) != kSuccess) return false;
  const dirent* entry = nullptr;
  Code code = kSuccess;
  do {
    code = stream.ReadNext(entry);
  } while (code == kSuccess && entry != nullptr && IsDots(*entry));
  return code == kSuccess && entry == nullptr;
}

Code RemoveFolder(const WideString& path) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  return rmdir(native.c_str()) == 0 ? kSuccess : CodeFromErrno(errno);
}

}  // namespace larder::platform
