// What the library needs of the object that links LTTng, liblarder-lttng.so. The library opens it
// at run time: see trace.cpp.
#pragma once

#include <cstddef>

namespace larder::platform {

// The functions may be called on any thread, as long as the process lives.
struct LttngObject {
  // Whether a session wants lines now. Costs a read; LTTng changes it on a thread of its own.
  bool (*isEnabled)() noexcept;
  // Do nothing if no session wants it. Never block, unless the session's channel is set up to.
  void (*recordLine)(const char* line) noexcept;
  void (*recordDroppedLine)(std::size_t size) noexcept;
  // Whether sessions get the lines of a forked child.
  bool (*followsForks)() noexcept;
};

// The object's only export returns its functions. The number in its name changes with the
// structure, so that an object of another version isn't used.
using GetLttngObject = const LttngObject* (*)() noexcept;
inline constexpr char kGetLttngObject[] = "LarderLttngObject1";
// The file's name. It is used if it lies beside the library.
inline constexpr char kLttngObjectName[] = "liblarder-lttng.so";

}  // namespace larder::platform
