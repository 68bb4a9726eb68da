// No text conversion crashes, and inverse conversions are inverse.
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "log/log-pieces.h"
#include "platform/wide.h"
#include "support/text.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

template <typename Conversion>
void MayThrow(Conversion conversion) {
  try {
    conversion();
  } catch (const std::exception&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  larder::WideString wide;
  if (larder::platform::WideFromUtf8(bytes, wide)) {
    Require(larder::platform::Utf8FromWide(wide) == bytes);
  }
  larder::WideString units(size / 2, 0);
  if (size > 1) std::memcpy(units.data(), data, 2 * units.size());
  Require(larder::platform::WideFromUtf8(larder::platform::Utf8FromWide(units), wide));
  Require(wide == units);
  Require(larder::Utf8ToWide(larder::WideToUtf8(units)) == units);
  MayThrow([&] { larder::Utf8ToWide(bytes); });
  MayThrow([&] { larder::HexToBytes(bytes); });
  std::size_t length = 0;
  for (const std::string& field : larder::SplitString(bytes, ',')) length += field.size() + 1;
  Require(length == size + 1);
  return 0;
}
