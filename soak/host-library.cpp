#include "soak/host-library.h"

#include <algorithm>

#include "soak/process.h"
#include "soak/run.h"

namespace larder::soak {
namespace {

WideString LibraryPath() { return WideOf(ProgramFolder() / LARDER_SOAK_LIBRARY); }

template <typename Function>
void Find(platform::ModuleHandle module, const char* name, Function& function) {
  function = reinterpret_cast<Function>(platform::FindSymbol(module, name));
  if (function == nullptr) throw Fault(std::string("the library has no ") + name);
}

}  // namespace

WideString WideOf(const std::filesystem::path& path) {
  auto text = path.generic_string<LarderWideChar>();
  std::ranges::replace(text, '/', '\\');
  return text;
}

Library::Library() {
  const platform::Code code = platform::OpenModule(LibraryPath(), module);
  if (code != platform::kSuccess) throw Fault("loading the library: " + std::to_string(code));
  Find(module, "LarderInit", init);
  Find(module, "LarderRelease", release);
  Find(module, "LarderQuery", query);
  Find(module, "LarderFreeQuery", freeQuery);
  Find(module, "LarderWrite", write);
}

Library::~Library() { platform::CloseModule(module); }

bool IsLibraryLoaded() {
  const platform::ModuleHandle loaded = platform::FindLoadedModule(LibraryPath());
  platform::CloseModule(loaded);
  return loaded != nullptr;
}

}  // namespace larder::soak
