// The code of a system call that has just failed.
#pragma once

#include <windows.h>

#include "platform/code.h"

namespace larder::platform {

// Never kSuccess, though some failures leave no code behind.
[[nodiscard]] inline Code LastError() noexcept {
  const DWORD code = GetLastError();
  return code != ERROR_SUCCESS ? code : kGeneralFailure;
}

}  // namespace larder::platform
