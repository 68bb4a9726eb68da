// No text conversion crashes, and inverse conversions are inverse.
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "log/log-pieces.h"
#include "platform/wide.h"
#include "support/text.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckNames(const std::string& bytes) {
  larder::WideString wide;
  if (larder::platform::WideFromUtf8(bytes, wide)) {
    Require(larder::platform::Utf8FromWide(wide) == bytes);
  }
}

void CheckUnits(const std::string& bytes) {
  larder::WideString units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    units += static_cast<LarderWideChar>(static_cast<unsigned char>(bytes[i]) << 8 |
                                         static_cast<unsigned char>(bytes[i + 1]));
  }
  larder::WideString back;
  Require(larder::platform::WideFromUtf8(larder::platform::Utf8FromWide(units), back));
  Require(back == units);
  Require(larder::Utf8ToWide(larder::WideToUtf8(units)) == units);
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
  CheckNames(bytes);
  CheckUnits(bytes);
  MayThrow([&] { larder::Utf8ToWide(bytes); });
  MayThrow([&] { larder::HexToBytes(bytes); });
  std::size_t length = 0;
  for (const std::string& field : larder::SplitString(bytes, ',')) length += field.size() + 1;
  Require(length == bytes.size() + 1);
  return 0;
}
