// The code of the system call that has just failed.
#pragma once

#include <windows.h>

#include "platform/code.h"

namespace larder::platform {

// Never kSuccess, even if the call set no code.
[[nodiscard]] inline Code LastError() noexcept {
  const DWORD code = GetLastError();
  return code != ERROR_SUCCESS ? code : kGeneralFailure;
}

}  // namespace larder::platform
