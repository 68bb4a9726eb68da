#include "tools/larder/setup/module-folder.h"

#include <algorithm>
#include <string_view>

#include "platform/code.h"
#include "platform/message.h"
#include "platform/module.h"
#include "support/paths.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/status/module-file.h"

namespace larder::tool {
namespace {

// folder and the result have a backslash at the end. The result has no "..", so it is short and
// doesn't depend on the folders in between.
WideString Below(WideString folder, std::string_view relative) {
  for (; relative.starts_with("../"); relative.remove_prefix(3)) {
    if (folder.size() > 1) folder = GetPath(folder.substr(0, folder.size() - 1));
  }
  for (const char unit : relative) {
    folder += static_cast<LarderWideChar>(unit == '/' ? '\\' : unit);
  }
  if (!folder.ends_with(LARDER_WIDE('\\'))) folder += '\\';
  return folder;
}

bool HasAny(const WideString& folder, const std::vector<WideString>& files) {
  return std::ranges::any_of(files, [&](const WideString& file) { return IsThere(folder + file); });
}

}  // namespace

WideString FindModuleFolder(const std::vector<WideString>& files, std::string& fault) {
  WideString program;
  const platform::Code code = platform::HostImagePath(program);
  if (code != platform::kSuccess) {
    fault = "the folder of this program isn't known: " + platform::SystemReason(code);
    return {};
  }
  const WideString own = GetPath(program);
  const WideString installed = Below(own, LARDER_MODULE_FOLDER);
  for (const WideString& folder : {own, installed}) {
    if (HasAny(folder, files)) return folder;
  }
  fault = "there are no provider modules in " + PathText(own);
  if (installed != own) fault += " or " + PathText(installed);
  return {};
}

}  // namespace larder::tool
