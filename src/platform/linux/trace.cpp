#include "platform/trace.h"

namespace larder::platform {

Code RegisterTrace(TraceControlFunction, void*, const Guid&, std::uint64_t&) noexcept {
  return kNotSupported;
}

Code UnregisterTrace(std::uint64_t) noexcept { return kNotSupported; }

std::uint64_t TraceSession(void*) noexcept { return 0; }

std::uint8_t TraceSessionLevel(std::uint64_t) noexcept { return 0; }

std::uint32_t TraceSessionFlags(std::uint64_t) noexcept { return 0; }

void EmitTrace(std::uint64_t, std::uint32_t, const Guid&, std::uint16_t, const char*,
               std::size_t) noexcept {}

}  // namespace larder::platform
