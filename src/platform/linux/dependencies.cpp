#include "platform/dependencies.h"

#include <link.h>
#include <stdlib.h>

#include <cerrno>
#include <chrono>
#include <sstream>

#include "platform/child.h"
#include "platform/linux/errno-code.h"
#include "platform/linux/native-path.h"

namespace larder::platform {
namespace {

constexpr std::chrono::seconds kMostLoaderTime(10);

// The path of the system's loader, as this program names it; the program is the first in the list.
std::string LoaderPath() {
  std::string path;
  dl_iterate_phdr(
      [](dl_phdr_info* image, std::size_t, void* result) {
        for (int i = 0; i < image->dlpi_phnum; ++i) {
          const ElfW(Phdr)& segment = image->dlpi_phdr[i];
          if (segment.p_type != PT_INTERP) continue;
          const auto address = image->dlpi_addr + segment.p_vaddr;
          // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader gives it as a number
          *static_cast<std::string*>(result) = reinterpret_cast<const char*>(address);
        }
        return 1;
      },
      &path);
  return path;
}

// Makes the loader list what it would load, without running any of it.
Code RunLoader(const std::string& module, ChildEnd& end) {
  constexpr const char* kSwitch = "LD_TRACE_LOADED_OBJECTS";
  WideString loader;
  if (const Code code = WidePath(LoaderPath(), loader); code != kSuccess) return code;
  // NOLINTBEGIN(concurrency-mt-unsafe): the caller's rule
  if (setenv(kSwitch, "1", 1) != 0) return CodeFromErrno(errno);
  const Code code = RunChild(loader, {module}, kMostLoaderTime, end);
  unsetenv(kSwitch);
  // NOLINTEND(concurrency-mt-unsafe)
  return code;
}

}  // namespace

Code FindMissingDependencies(const WideString& path, std::vector<std::string>& names) {
  std::string native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  ChildEnd end;
  if (const Code code = RunLoader(native, end); code != kSuccess) return code;
  std::istringstream lines(end.output);
  for (std::string name; lines >> name;) {
    std::string rest;
    std::getline(lines, rest);
    if (rest == " => not found") names.push_back(name);
  }
  return kSuccess;
}

}  // namespace larder::platform
