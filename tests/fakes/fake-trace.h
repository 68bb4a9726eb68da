// Stands in for the system's trace facility and keeps what is emitted.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/trace.h"

namespace larder {

struct EmittedMessage {
  std::uint64_t session;
  std::uint32_t flags;
  platform::Guid message;
  std::uint16_t number;
  std::string argument;  // every byte that was handed over, the terminator included
};

// Not for several threads at once.
std::vector<EmittedMessage>& EmittedMessages();

}  // namespace larder
