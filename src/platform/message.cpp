#include "platform/message.h"

#include "platform/utf.h"

namespace larder::platform {

std::string SystemText(Code code) {
  std::string text = Utf8FromWide(SystemMessage(code));
  text.erase(text.find_last_not_of(" \r\n") + 1);
  return text;
}

std::string SystemReason(Code code) {
  const std::string text = SystemText(code);
  const std::string number = std::to_string(code);
  return text.empty() ? "code " + number : text + " (" + number + ")";
}

}  // namespace larder::platform
