#include "feed-stats/file-provider-figures.h"

#include <stdexcept>

#include "common/registry-value.h"
#include "platform/module.h"
#include "product/product.h"

namespace larder::feed {
namespace {

// Keeps the module, if the process has it, from being unloaded.
class LoadedModule {
 public:
  explicit LoadedModule(const WideString& path) : handle(platform::FindLoadedModule(path)) {}
  ~LoadedModule() { platform::CloseModule(handle); }
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;

  const platform::ModuleHandle handle;
};

WideString ModulePath() try {
  const WideString file = ReadRegistryText(kFeedFileKey, kModuleValue);
  if (file.empty()) return {};
  return ReadRegistryText(kInstallKey, kLocationValue) + file;
} catch (const std::runtime_error&) {  // the library can't have loaded it from there either
  return {};
}

}  // namespace

FileFigures FileProviderFigures() {
  const LoadedModule module(ModulePath());
  const auto function = reinterpret_cast<GetFileFiguresFunction>(
      platform::FindSymbol(module.handle, "GetFileFigures"));
  FileFigures figures;
  if (function != nullptr) function(&figures);
  return figures;
}

}  // namespace larder::feed
