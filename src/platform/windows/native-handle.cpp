#include "platform/windows/native-handle.h"

#include "platform/windows/native-path.h"

namespace larder::platform {

Code OpenNativeFile(const WideString& path, const NativeOpening& how, Handle& file) {
  file = InvalidHandle();
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  file = reinterpret_cast<Handle>(CreateFileW(native.c_str(), how.access, how.share, nullptr,
                                              how.disposition, how.flags, nullptr));
  return file != InvalidHandle() ? kSuccess : LastError();
}

}  // namespace larder::platform
