#include "platform/trace.h"

#include <windows.h>

#include <cstring>

// Needs the types of windows.h.
#include <evntrace.h>

namespace larder::platform {
namespace {

GUID NativeGuid(const Guid& guid) noexcept {
  static_assert(sizeof(GUID) == sizeof(Guid));
  GUID native;
  std::memcpy(&native, &guid, sizeof native);
  return native;
}

}  // namespace

Code RegisterTrace(TraceControlFunction function, void* context, const Guid& control,
                   std::uint64_t& registration) noexcept {
  const GUID guid = NativeGuid(control);
  TRACE_GUID_REGISTRATION record{&guid, nullptr};
  TRACEHANDLE handle = 0;
  // WMIDPREQUEST differs only in its names for 32-bit integers.
  const auto callback = reinterpret_cast<WMIDPREQUEST>(reinterpret_cast<void (*)()>(function));
  const ULONG status =
      RegisterTraceGuidsW(callback, context, &guid, 1, &record, nullptr, nullptr, &handle);
  if (status == ERROR_SUCCESS) registration = handle;
  return status;
}

Code UnregisterTrace(std::uint64_t registration) noexcept {
  return UnregisterTraceGuids(registration);
}

std::uint64_t TraceSession(void* buffer) noexcept { return GetTraceLoggerHandle(buffer); }

std::uint8_t TraceSessionLevel(std::uint64_t session) noexcept {
  return GetTraceEnableLevel(session);
}

std::uint32_t TraceSessionFlags(std::uint64_t session) noexcept {
  return GetTraceEnableFlags(session);
}

void EmitTrace(std::uint64_t session, std::uint32_t messageFlags, const Guid& message,
               std::uint16_t number, const char* text, std::size_t size) noexcept {
  const GUID guid = NativeGuid(message);
  TraceMessage(session, messageFlags, &guid, number, text, size, static_cast<void*>(nullptr),
               std::size_t{0});
}

}  // namespace larder::platform
