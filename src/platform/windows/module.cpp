#include "platform/module.h"

#include <windows.h>

#include "platform/windows/native.h"

namespace larder::platform {
namespace {

HMODULE Native(ModuleHandle module) { return reinterpret_cast<HMODULE>(module); }

}  // namespace

Code OpenModule(const WideString& path, ModuleHandle& module) {
  module = nullptr;
  WideString native;
  if (const Code code = NativePath(path, native); code != kSuccess) return code;
  if (native.empty()) return kModuleNotFound;
  module = reinterpret_cast<ModuleHandle>(LoadLibraryW(native.c_str()));
  return module != nullptr ? kSuccess : LastError();
}

ModuleHandle FindLoadedModule(const WideString& path) {
  WideString native;
  HMODULE module = nullptr;
  if (NativePath(path, native) != kSuccess || native.empty()) return nullptr;
  if (GetModuleHandleExW(0, native.c_str(), &module) == FALSE) return nullptr;
  return reinterpret_cast<ModuleHandle>(module);
}

Symbol FindSymbol(ModuleHandle module, const char* name) noexcept {
  if (module == nullptr || name == nullptr) return nullptr;
  return reinterpret_cast<Symbol>(GetProcAddress(Native(module), name));
}

void CloseModule(ModuleHandle module) noexcept {
  if (module != nullptr) FreeLibrary(Native(module));
}

Code HostImagePath(WideString& path) {
  WideString image(MAX_PATH, L'\0');
  for (;;) {
    const auto capacity = static_cast<DWORD>(image.size());
    const DWORD length = GetModuleFileNameW(nullptr, image.data(), capacity);
    if (length == 0) return LastError();
    if (length < capacity) {
      image.resize(length);
      path = std::move(image);
      return kSuccess;
    }
    image.resize(image.size() * 2);
  }
}

}  // namespace larder::platform
