#include "platform/trace.h"

#include <windows.h>

#include <cstring>

// Its types come from windows.h.
#include <evntrace.h>

namespace larder::platform {

void EmitTrace(std::uint64_t session, std::uint32_t messageFlags, const Guid& message,
               std::uint16_t number, const char* text, std::size_t size) noexcept {
  static_assert(sizeof(GUID) == sizeof(Guid));
  GUID guid;
  std::memcpy(&guid, &message, sizeof(guid));
  TraceMessage(session, messageFlags, &guid, number, text, size, static_cast<void*>(nullptr),
               std::size_t{0});
}

}  // namespace larder::platform
