#include "machine.h"

#include <algorithm>
#include <stdexcept>

#include "platform/registry.h"
#include "support/registry.h"

namespace larder {
namespace {

constexpr const char* kModules[] = {"feed-file.dll", "stock-file-query.dll", "feed-stats.dll",
                                    "feed-test.dll", "feed-ready.dll"};

WideString Wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

WideString ProviderKey(const std::string& name) {
  return WideString(kProvidersKey) + LARDER_WIDE("\\") + Wide(name);
}

}  // namespace

Machine::Machine() {
  for (const char* module : kModules) {
    std::filesystem::copy_file(std::filesystem::path(LARDER_BENCH_BIN) / module, Folder() / module);
  }
}

WideString Machine::WidePath(const std::string& name) const {
  auto path = (Folder() / name).generic_string<LarderWideChar>();
  std::ranges::replace(path, '/', '\\');
  return path;
}

void Machine::Register(const std::vector<std::string>& modules) const {
  static_cast<void>(platform::RemoveRegistryTree(WideString(LarderRegistryRoot) + kProvidersKey));
  SetRegistryString(kInstallKey, kLocationValue, WidePath(""));
  for (const std::string& module : modules) {
    SetRegistryString(ProviderKey(module), kModuleValue, Wide(module));
  }
}

Host::Host() {
  const std::int32_t result = LarderInit([](std::int32_t) {}, &handle);
  if (result != LARDER_OK) {
    throw std::runtime_error("LarderInit returned " + std::to_string(result));
  }
}

Host::~Host() { LarderRelease(); }

}  // namespace larder
