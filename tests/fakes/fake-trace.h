// The platform group "trace", replaced by one that records registrations and messages and lets a
// test act as the controller.
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
  std::string argument;  // all bytes, with the terminator
};

// Not thread-safe.
std::vector<EmittedMessage>& EmittedMessages();

// As a controller sets it up.
struct FakeSession {
  std::uint64_t handle = 0;
  std::uint8_t level = 0;
  std::uint32_t flags = 0;
};

struct FakeTraceFacility {
  platform::Code registerCode = platform::kSuccess;  // with success the handle is 0x77
  bool isEnabledAtOnce = false;                      // the callback is called by RegisterTrace
  FakeSession session;

  // The calls so far.
  platform::TraceControlFunction function = nullptr;
  void* context = nullptr;
  platform::Guid control{};
  int registrations = 0;
  std::vector<std::uint64_t> ended;  // passed to UnregisterTrace

  // Calls the callback with a controller's request, and stores its *bufferSize in bufferSize.
  platform::Code Request(std::uint32_t requestCode);
  std::uint32_t bufferSize = 0;
};

FakeTraceFacility& TraceFacility();

}  // namespace larder
