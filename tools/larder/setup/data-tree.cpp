#include "tools/larder/setup/data-tree.h"

#include <string>
#include <vector>

#include "platform/folder-access.h"
#include "platform/folder.h"
#include "platform/message.h"
#include "product/product.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/cli/text.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::FolderDistrust;
using platform::OtherUsers;
using platform::Readers;

// A folder, after those above it.
struct Level {
  WideString path;  // below the common data folder, with a separator at its start
  Readers readers;
  bool isStore;  // never adopted: others may have put records there, which would be used
};

std::vector<Level> Levels() {
  const WideString separator = LARDER_WIDE("\\");
  const WideString maker = separator + kMakerFolder;
  const WideString product = maker + separator + kProductFolder;
  const WideString databases = product + separator + kDatabasesFolder;
  const WideString feedFile = databases + separator + kFeedFileFolder;
  return {{maker, Readers::kEverybody, false},
          {product, Readers::kEverybody, false},
          {product + separator + kLogsFolder, Readers::kAdministrators, false},
          {databases, Readers::kEverybody, false},
          {feedFile, Readers::kEverybody, true},
          {feedFile + separator + kStoreFolder, Readers::kEverybody, true}};
}

void Report(const char* what, const WideString& path, Output& output) {
  output.Write(std::string(what) + "\t" + Printable(PathText(path)) + "\n");
}

// Gives an existing folder rights of its own if others may only add to it. Returns why the folder
// still isn't trusted, or an empty text.
std::string Adopt(const WideString& path, const Level& level, Output& output, bool& hasChanged) {
  std::string distrust = FolderDistrust(path, OtherUsers::kMayNotWrite);
  if (distrust.empty() || level.isStore) return distrust;
  if (!FolderDistrust(path, OtherUsers::kMayAdd).empty()) return distrust;
  const Code code = platform::ProtectFolder(path, level.readers);
  if (code != platform::kSuccess) return "can't be protected: " + platform::SystemReason(code);
  Report("protected", path, output);
  hasChanged = true;
  return FolderDistrust(path, OtherUsers::kMayNotWrite);
}

bool SetUp(const WideString& path, const Level& level, Output& output, bool& hasChanged) {
  const Code code = platform::MakeProtectedFolder(path, level.readers);
  if (code == platform::kSuccess) {
    Report("created", path, output);
    hasChanged = true;
  }
  if (code != platform::kAlreadyExists) {
    return Succeeded("create the folder " + PathText(path), code);
  }
  const std::string distrust = Adopt(path, level, output, hasChanged);
  if (distrust.empty()) return true;
  PrintError("the folder " + PathText(path) + " can't be used, because it " + distrust +
             "; delete it or move it away, and run this command again");
  return false;
}

}  // namespace

bool SetUpDataTree(Output& output, bool& hasChanged) {
  WideString common;
  const Code code = platform::CommonFolderPath(platform::CommonFolder::kData, common);
  if (!Succeeded("find the machine's data folder", code)) return false;
  const std::string distrust = platform::CommonFolderDistrust(common);
  if (!distrust.empty()) {
    PrintError("no folder was created in " + PathText(common) + ", because it " + distrust);
    return false;
  }
  for (const Level& level : Levels()) {
    if (!SetUp(common + level.path, level, output, hasChanged)) return false;
  }
  return true;
}

}  // namespace larder::tool
