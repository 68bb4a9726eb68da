#include "platform/message.h"

#include <windows.h>

#include <memory>

namespace larder::platform {
namespace {

struct FreeLocal {
  void operator()(wchar_t* text) const noexcept { LocalFree(text); }
};

}  // namespace

WideString SystemMessage(Code code) {
  constexpr DWORD kFlags =
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
  static_assert(kFlags == 0x1300);
  constexpr DWORD kLanguage = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);
  static_assert(kLanguage == 0x400);
  wchar_t* text = nullptr;
  FormatMessageW(kFlags, nullptr, code, kLanguage, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  const std::unique_ptr<wchar_t, FreeLocal> owner(text);
  return text == nullptr ? WideString() : WideString(text);
}

}  // namespace larder::platform
