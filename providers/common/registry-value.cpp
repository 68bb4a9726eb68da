#include "common/registry-value.h"

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
    if (code == platform::kMoreData) {
      Fail(type == platform::kRegSz
               ? "it has more than " + std::to_string(kMaxRegistryCharacters) + " characters"
               : "it is too long");
    }
    return true;
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
  // One unit more than is read, so that a value stored without a terminator is terminated.
  LarderWideChar text[kMaxRegistryCharacters + 2] = {};
  const std::uint32_t size = (kMaxRegistryCharacters + 1) * sizeof(LarderWideChar);
  if (!Value(subkey, name).Read(platform::kRegSz, "REG_SZ", text, size)) return {};
  return text;
}

std::optional<std::uint32_t> ReadRegistryNumber(WideView subkey, const WideString& name) {
  std::uint32_t number = 0;
  if (!Value(subkey, name).Read(platform::kRegDword, "REG_DWORD", &number, sizeof number))
    return {};
  return number;
}

}  // namespace larder::feed
