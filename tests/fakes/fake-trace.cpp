#include "fakes/fake-trace.h"

namespace larder {

std::vector<EmittedMessage>& EmittedMessages() {
  static std::vector<EmittedMessage> messages;
  return messages;
}

void platform::EmitTrace(std::uint64_t session, std::uint32_t messageFlags, const Guid& message,
                         std::uint16_t number, const char* text, std::size_t size) noexcept {
  EmittedMessages().push_back({session, messageFlags, message, number, std::string(text, size)});
}

}  // namespace larder
