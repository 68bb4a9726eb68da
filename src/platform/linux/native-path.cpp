#include "platform/linux/native-path.h"

#include <stdlib.h>

#include <algorithm>

#include "platform/utf.h"

namespace larder::platform {

Code NativePath(WideView path, std::string& native) {
  if (path.find(u'\0') != WideView::npos) return kInvalidName;
  native = Utf8FromWide(path);
  std::replace(native.begin(), native.end(), '\\', '/');
  return kSuccess;
}

Code WidePath(const std::string& native, WideString& path) {
  if (native.find('\\') != std::string::npos) return kInvalidName;
  if (!WideFromUtf8(native, path)) return kNoUnicodeTranslation;
  std::replace(path.begin(), path.end(), u'/', u'\\');
  return kSuccess;
}

std::string MachineRoot() {
  const char* value = secure_getenv("LARDER_ROOT");
  std::string root = value == nullptr ? "" : value;
  while (!root.empty() && root.back() == '/') root.pop_back();
  return root;
}

}  // namespace larder::platform
