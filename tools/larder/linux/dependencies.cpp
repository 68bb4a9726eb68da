#include "tools/larder/status/module-file.h"

#include <link.h>
#include <stdlib.h>

#include <cerrno>
#include <chrono>
#include <sstream>

#include "platform/linux/native.h"
#include "tools/larder/status/child.h"

namespace larder::tool {
namespace {

using platform::Code;
using platform::kSuccess;

constexpr std::chrono::seconds kMaxLoaderTime(10);

// The path of the system's loader, from this program's own header; the program is the first image.
std::string LoaderPath() {
  std::string path;
  dl_iterate_phdr(
      [](dl_phdr_info* image, std::size_t, void* result) {
        for (int i = 0; i < image->dlpi_phnum; ++i) {
          const ElfW(Phdr)& segment = image->dlpi_phdr[i];
          if (segment.p_type != PT_INTERP) continue;
          const auto address = image->dlpi_addr + segment.p_vaddr;
          // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader reports addresses as numbers
          *static_cast<std::string*>(result) = reinterpret_cast<const char*>(address);
        }
        return 1;
      },
      &path);
  return path;
}

// Lets the loader list what it would load, without running any of it.
Code RunLoader(const std::string& module, ChildResult& result) {
  constexpr const char* kSwitch = "LD_TRACE_LOADED_OBJECTS";
  WideString loader;
  if (const Code code = platform::WidePath(LoaderPath(), loader); code != kSuccess) return code;
  // NOLINTBEGIN(concurrency-mt-unsafe): the caller has one thread
  if (setenv(kSwitch, "1", 1) != 0) return platform::CodeFromErrno(errno);
  const Code code = RunChild(loader, {module}, kMaxLoaderTime, result);
  unsetenv(kSwitch);
  // NOLINTEND(concurrency-mt-unsafe)
  return code;
}

}  // namespace

Code FindMissingDependencies(const WideString& path, std::vector<std::string>& names) {
  std::string native;
  if (const Code code = platform::NativePath(path, native); code != kSuccess) return code;
  ChildResult result;
  if (const Code code = RunLoader(native, result); code != kSuccess) return code;
  std::istringstream lines(result.output);
  for (std::string name; lines >> name;) {
    std::string rest;
    std::getline(lines, rest);
    if (rest == " => not found") names.push_back(name);
  }
  return kSuccess;
}

}  // namespace larder::tool
