#include <utility>

#include "platform/folder-access.h"
#include "platform/folder.h"
#include "platform/message.h"

namespace larder::platform {
namespace {

constexpr LarderWideChar kSeparator = '\\';

}  // namespace

Distrust DataFolderDistrust(const WideString& folder, OtherUsers others) {
  WideString common;
  const Code code = CommonFolderPath(CommonFolder::kData, common);
  if (code != kSuccess) return {folder, "can't be found: " + SystemReason(code)};
  std::string reason = CommonFolderDistrust(common);
  if (!reason.empty()) return {common, std::move(reason)};
  const WideString path = folder.ends_with(kSeparator) ? folder : folder + kSeparator;
  if (!path.starts_with(common + kSeparator)) return {folder, "isn't in the common data folder"};
  for (std::size_t end = path.find(kSeparator, common.size() + 1); end != WideString::npos;
       end = path.find(kSeparator, end + 1)) {
    const bool isLast = end + 1 == path.size();
    WideString level = path.substr(0, end);
    reason = FolderDistrust(level, isLast ? others : OtherUsers::kMayAdd);
    if (!reason.empty()) return {std::move(level), std::move(reason)};
  }
  return {};
}

}  // namespace larder::platform
