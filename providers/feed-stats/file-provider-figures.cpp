#include "feed-stats/file-provider-figures.h"

#include <stdexcept>

#include "common/registry-value.h"
#include "platform/scoped-handle.h"
#include "product/product.h"

namespace larder::feed {
namespace {

WideString ModulePath() try {
  const WideString file = ReadRegistryText(kFeedFileKey, kModuleValue);
  if (file.empty()) return {};
  return ReadRegistryText(kInstallKey, kLocationValue) + file;
} catch (const std::runtime_error&) {  // the library can't have loaded it from there either
  return {};
}

}  // namespace

FileFigures FileProviderFigures() {
  // Keeps the module, if the process has loaded it, from being unloaded meanwhile.
  const platform::OwnedModule module(platform::FindLoadedModule(ModulePath()));
  const auto function = reinterpret_cast<GetFileFiguresFunction>(
      platform::FindSymbol(module.Get(), "GetFileFigures"));
  FileFigures figures;
  if (function != nullptr) function(&figures);
  return figures;
}

}  // namespace larder::feed
