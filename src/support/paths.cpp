#include "support/paths.h"

#include "log/log-statement.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "product/product.h"
#include "support/registry.h"
#include "support/text.h"

namespace larder {

namespace {

constexpr LarderWideChar kSeparator = '\\';

WideString MakerPath(platform::CommonFolder folder) {
  WideString path;
  const platform::Code code = platform::CommonFolderPath(folder, path);
  if (code != platform::kSuccess) {
    LogWarn("SHGetFolderPath failed: ", FormatSystemError(code));
    return {};
  }
  return path + kSeparator + kMakerFolder + kSeparator;
}

// Counts the matching lines of a text that arrives in pieces.
class LineCounter {
 public:
  explicit LineCounter(const std::string& textToFind) : wanted(textToFind) {}

  void Add(const char* bytes, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
      if (bytes[i] == '\n') {
        EndLine();
      } else {
        line += bytes[i];
      }
    }
  }
  std::uint32_t Finish() {
    if (!line.empty()) EndLine();
    return count;
  }

 private:
  void EndLine() {
    if (line.ends_with('\r')) line.pop_back();
    if (line.find(wanted) != std::string::npos) ++count;
    line.clear();
  }

  const std::string& wanted;
  std::string line;
  std::uint32_t count = 0;
};

}  // namespace

WideString GetVelmorDataPath() {
  ScopeTrace scope("Entering GetVelmorDataPath()", "Leaving GetVelmorDataPath()");
  return MakerPath(platform::CommonFolder::kData);
}

WideString GetVelmorProgramPath() {
  ScopeTrace scope("Entering GetVelmorProgramPath()", "Leaving GetVelmorProgramPath()");
  return MakerPath(platform::CommonFolder::kProgramFiles);
}

WideString GetLarderDataPath() { return GetVelmorDataPath() + kProductFolder + kSeparator; }

WideString GetLarderProgramDir() {
  WideString location = GetRegistryString(kInstallKey, kLocationValue);
  if (!location.empty()) return location;
  return GetVelmorProgramPath() + kProductFolder + kSeparator;
}

WideString MakeLarderDbDir(const WideString& name) {
  WideString path;
  if (platform::CommonFolderPath(platform::CommonFolder::kData, path) != platform::kSuccess) {
    return {};
  }
  path += kSeparator;
  for (const WideView level : {kMakerFolder, kProductFolder, kDatabasesFolder}) {
    path.append(level) += kSeparator;
    if (!EnsureFolder(path)) return path;
  }
  path += name;
  EnsureFolder(path);
  return path;
}

WideString GetPath(const WideString& path) {
  ScopeTrace scope("Entering GetPath()", "Leaving GetPath()");
  const std::size_t last = path.rfind(kSeparator);
  if (last == WideString::npos) {
    LogWarn("Separator not found");
    return {};
  }
  return path.substr(0, last + 1);
}

WideString GetFileNameInPath(const WideString& path) {
  ScopeTrace scope("Entering GetFileNameInPath()", "Leaving GetFileNameInPath()");
  return path.substr(path.rfind(kSeparator) + 1);  // npos + 1 is the start
}

WideString GetFileNameInModuleLocation(const WideString& fileName) {
  ScopeTrace scope("Entering GetFileNameInModuleLocation()",
                   "Leaving GetFileNameInModuleLocation()");
  return GetPath(GetModuleName()) + fileName;
}

bool DirectoryExists(const WideString& path) {
  ScopeTrace scope("Entering DirectoryExists()", "Leaving DirectoryExists()");
  std::uint32_t attributes = 0;
  const platform::Code code = platform::PathAttributes(path, attributes);
  if (code != platform::kSuccess) {
    LogTrace("GetFileAttributes() failed for: ", path, " ", FormatSystemError(code));
    return false;
  }
  if ((attributes & platform::kAttributeDirectory) == 0) {
    LogTrace(path, " is not a directory.");
    return false;
  }
  return true;
}

bool CreateDirectoryTree(const WideString& path) {
  ScopeTrace scope("Entering CreateDirectoryTree()", "Leaving CreateDirectoryTree()");
  WideString level;
  for (const WideString& field : SplitString(path, kSeparator)) {
    level += field;
    level += kSeparator;
    if (DirectoryExists(level)) continue;
    const platform::Code code = platform::MakeFolder(level);
    if (code != platform::kSuccess) {
      LogTrace("CreateDirectory() failed for: ", level, " ", FormatSystemError(code));
      return false;
    }
  }
  return DirectoryExists(path);
}

bool EnsureFolder(const WideString& path) {
  const platform::Code code = platform::MakeFolder(path);
  return code == platform::kSuccess || code == platform::kAlreadyExists;
}

std::uint32_t CountLinesContaining(const WideString& path, const std::string& text) {
  AutoHandle file;
  platform::FileKind kind{};
  if (platform::OpenFileToRead(path, file.Out(), kind) != platform::kSuccess || file.IsEmpty()) {
    return 0;
  }
  LineCounter counter(text);
  char bytes[4096];
  std::size_t bytesRead = 0;
  while (platform::ReadNext(file.Get(), bytes, sizeof bytes, bytesRead) == platform::kSuccess &&
         bytesRead > 0) {
    counter.Add(bytes, bytesRead);
  }
  return counter.Finish();
}

}  // namespace larder
