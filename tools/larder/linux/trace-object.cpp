#include "tools/larder/status/trace-object.h"

#include <dlfcn.h>

#include <filesystem>

#include "platform/linux/lttng-object.h"
#include "platform/linux/native.h"
#include "tools/larder/status/module-file.h"
#include "tools/larder/status/provider-probe.h"

namespace larder::tool {
namespace {

// Of the library that this program has loaded.
std::filesystem::path LibraryPath() {
  Dl_info image{};
  if (dladdr(dlsym(RTLD_DEFAULT, "LarderInit"), &image) == 0) return {};
  std::error_code error;
  return std::filesystem::canonical(image.dli_fname, error);
}

}  // namespace

TraceObject FindTraceObject(std::chrono::milliseconds limit) {
  TraceObject object;
  const std::filesystem::path path = LibraryPath().replace_filename(platform::kLttngObjectName);
  if (platform::WidePath(path.string(), object.path) != platform::kSuccess) return object;
  object.isThere = IsThere(object.path);
  if (object.isThere) object.fault = FindLoadFault(object.path, platform::kGetLttngObject, limit);
  return object;
}

}  // namespace larder::tool
