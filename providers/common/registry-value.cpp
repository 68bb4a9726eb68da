#include "common/registry-value.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>

#include "common/object-identity.h"
#include "platform/message.h"
#include "platform/scoped-handle.h"
#include "product/product.h"

namespace larder::feed {
namespace {

class Value {
 public:
  Value(WideView subkey, const WideString& valueName)
      : path(WideString(LarderRegistryRoot).append(subkey)), name(valueName) {}

  // False if the value doesn't exist.
  bool Read(std::uint32_t wantedType, const char* typeName, void* data, std::uint32_t size) const {
    platform::OwnedRegistryKey key;
    std::uint32_t type = 0;
    platform::Code code = platform::OpenRegistryKey(path, platform::kKeyRead, key.Out());
    if (code == platform::kSuccess) {
      code = platform::QueryRegistryValue(key.Get(), name, type, data, size);
    }
    if (code == platform::kFileNotFound) return false;
    if (code != platform::kSuccess && code != platform::kMoreData)
      Fail(platform::SystemReason(code));
    if (type != wantedType) Fail(std::string("it isn't of type ") + typeName);
    if (code == platform::kMoreData && type == platform::kRegSz) FailAsTooLong();
    if (code == platform::kMoreData) Fail("it is too long");
    return true;
  }

  [[noreturn]] void FailAsTooLong() const {
    Fail("it has more than " + std::to_string(kMaxRegistryCharacters) + " characters");
  }

 private:
  [[noreturn]] void Fail(const std::string& reason) const {
    throw std::runtime_error("Can't read the registry value " + Quoted(name) + " of the key " +
                             Quoted(path) + ": " + reason);
  }

  const WideString path;
  const WideString& name;
};

}  // namespace

WideString ReadRegistryText(WideView subkey, const WideString& name) {
  LarderWideChar text[kMaxRegistryCharacters + 1] = {};
  const Value value(subkey, name);
  if (!value.Read(platform::kRegSz, "REG_SZ", text, sizeof text)) return {};
  // Stored without a terminator, a text of one character too many fits as well.
  if (std::ranges::find(text, LARDER_WIDE('\0')) == std::end(text)) value.FailAsTooLong();
  return text;
}

std::optional<std::uint32_t> ReadRegistryNumber(WideView subkey, const WideString& name) {
  std::uint32_t number = 0;
  if (!Value(subkey, name).Read(platform::kRegDword, "REG_DWORD", &number, sizeof number))
    return {};
  return number;
}

}  // namespace larder::feed
