#include "fakes/fake-trace.h"

namespace larder {

std::vector<EmittedMessage>& EmittedMessages() {
  static std::vector<EmittedMessage> messages;
  return messages;
}

FakeTraceFacility& TraceFacility() {
  static FakeTraceFacility facility;
  return facility;
}

platform::Code FakeTraceFacility::Request(std::uint32_t requestCode) {
  bufferSize = sizeof session;
  return function(requestCode, context, &bufferSize, &session);
}

platform::Code platform::RegisterTrace(TraceControlFunction function, void* context,
                                       const Guid& control, std::uint64_t& registration) noexcept {
  FakeTraceFacility& facility = TraceFacility();
  ++facility.registrations;
  if (facility.registerCode != kSuccess) return facility.registerCode;
  facility.function = function;
  facility.context = context;
  facility.control = control;
  if (facility.isEnabledAtOnce) facility.Request(kTraceEnableEvents);
  registration = 0x77;
  return kSuccess;
}

platform::Code platform::UnregisterTrace(std::uint64_t registration) noexcept {
  TraceFacility().ended.push_back(registration);
  return kSuccess;
}

std::uint64_t platform::TraceSession(void* buffer) noexcept {
  return static_cast<const FakeSession*>(buffer)->handle;
}

std::uint8_t platform::TraceSessionLevel(std::uint64_t session) noexcept {
  const FakeSession& known = TraceFacility().session;
  return session == known.handle ? known.level : std::uint8_t{0};
}

std::uint32_t platform::TraceSessionFlags(std::uint64_t session) noexcept {
  const FakeSession& known = TraceFacility().session;
  return session == known.handle ? known.flags : 0;
}

void platform::EmitTrace(std::uint64_t session, std::uint32_t messageFlags, const Guid& message,
                         std::uint16_t number, const char* text, std::size_t size) noexcept {
  EmittedMessages().push_back({session, messageFlags, message, number, std::string(text, size)});
}

}  // namespace larder
