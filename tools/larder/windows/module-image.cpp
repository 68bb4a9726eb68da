#include "tools/larder/check/module-image.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <set>

#include "platform/windows/native.h"
#include "tools/larder/windows/image-imports.h"

namespace larder::tool {
namespace {

std::string UndefinedSymbolIn(HMODULE module) {
  for (const ImportedLibrary& library : ImportsOf(module)) {
    const HMODULE loaded = LoadLibraryA(library.name.c_str());
    if (loaded == nullptr) continue;  // reported as a missing dependency
    for (const std::string& symbol : library.symbols) {
      if (GetProcAddress(loaded, symbol.c_str()) == nullptr) return library.name + ": " + symbol;
    }
  }
  return {};
}

template <typename Item>
const Item* TableAt(HMODULE module, std::uint32_t offset) {
  return reinterpret_cast<const Item*>(reinterpret_cast<const unsigned char*>(module) + offset);
}

std::set<std::uint32_t> NamedFunctions(HMODULE module, const IMAGE_EXPORT_DIRECTORY& exports) {
  const auto* indices = TableAt<std::uint16_t>(module, exports.AddressOfNameOrdinals);
  return {indices, indices + exports.NumberOfNames};
}

}  // namespace

const char* const kSharedRuntime = "libstdc++-6.dll";

// The libraries stay loaded: the process exists to try one module.
std::string FindUndefinedSymbol(const WideString& path) {
  WideString native;
  if (platform::NativePath(path, native) != platform::kSuccess) return {};
  const HMODULE mapped = LoadLibraryExW(native.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
  if (mapped == nullptr) return {};
  std::string symbol = UndefinedSymbolIn(mapped);
  FreeLibrary(mapped);
  return symbol;
}

std::vector<std::string> ExportsOf(platform::ModuleHandle module) {
  auto* image = reinterpret_cast<HMODULE>(module);
  std::vector<std::string> names;
  const auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(
      ImageDirectory(image, IMAGE_DIRECTORY_ENTRY_EXPORT));
  if (exports == nullptr) return names;
  const auto* offsets = TableAt<std::uint32_t>(image, exports->AddressOfNames);
  for (std::uint32_t i = 0; i < exports->NumberOfNames; ++i) {
    names.emplace_back(TableAt<char>(image, offsets[i]));
  }
  const std::set<std::uint32_t> named = NamedFunctions(image, *exports);
  const auto* functions = TableAt<std::uint32_t>(image, exports->AddressOfFunctions);
  for (std::uint32_t i = 0; i < exports->NumberOfFunctions; ++i) {
    if (functions[i] != 0 && !named.contains(i)) {
      names.push_back("#" + std::to_string(exports->Base + i));
    }
  }
  return names;
}

bool UsesSharedRuntime(platform::ModuleHandle module) {
  const auto libraries = ImportsOf(reinterpret_cast<HMODULE>(module));
  return std::any_of(libraries.begin(), libraries.end(), [](const ImportedLibrary& library) {
    return _stricmp(library.name.c_str(), kSharedRuntime) == 0;
  });
}

}  // namespace larder::tool
