#include "support/text.h"

#include <cstdint>

namespace larder {

std::string WideToUtf8(WideView text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const LarderWideChar unit : text) {
    const unsigned value = static_cast<unsigned>(unit);
    if (value < 0x80) {
      bytes += static_cast<char>(value);
    } else if (value < 0x800) {
      bytes += static_cast<char>(0xC0 | (value >> 6));
      bytes += static_cast<char>(0x80 | (value & 0x3F));
    } else {
      bytes += static_cast<char>(0xE0 | (value >> 12));
      bytes += static_cast<char>(0x80 | ((value >> 6) & 0x3F));
      bytes += static_cast<char>(0x80 | (value & 0x3F));
    }
  }
  return bytes;
}

void WritePointerDigits(const void* pointer, char* digits) noexcept {
  auto value = reinterpret_cast<std::uintptr_t>(pointer);
  for (std::size_t i = kPointerDigits; i-- > 0; value >>= 4) {
    digits[i] = "0123456789ABCDEF"[value & 0xF];
  }
}

std::string PointerText(const void* pointer) {
  std::string digits(kPointerDigits, '0');
  WritePointerDigits(pointer, digits.data());
  return digits;
}

}  // namespace larder
