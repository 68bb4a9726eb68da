#include "common/system-reason.h"

#include "platform/message.h"
#include "platform/utf.h"

namespace larder::feed {

std::string SystemReason(platform::Code code) {
  std::string text = platform::Utf8FromWide(platform::SystemMessage(code));
  text.erase(text.find_last_not_of("\r\n") + 1);
  if (text.empty()) text = "unknown reason";
  return text + " (code " + std::to_string(code) + ')';
}

}  // namespace larder::feed
