// Stands in for the system's trace facility: keeps who is registered and what is emitted, and lets
// a test play the controller.
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

// What a controller asks for.
struct FakeSession {
  std::uint64_t handle = 0;
  std::uint8_t level = 0;
  std::uint32_t flags = 0;
};

struct FakeTraceFacility {
  platform::Code registerCode = platform::kSuccess;  // what RegisterTrace gives
  std::uint64_t registration = 0x77;                 // handle of a good registration
  bool isEnabledAtOnce = false;  // a session waits already: the callback comes while registering
  FakeSession session;

  // What has been asked of it.
  platform::TraceControlFunction function = nullptr;
  void* context = nullptr;
  platform::Guid control{};
  int registrations = 0;
  std::vector<std::uint64_t> ended;  // handles given to UnregisterTrace

  // The controller's request, as the facility passes it on; *bufferSize is left in bufferSize.
  platform::Code Request(std::uint32_t requestCode);
  std::uint32_t bufferSize = 0;
};

FakeTraceFacility& TraceFacility();

}  // namespace larder
