// A provider of type LARDER_SOAK_TYPE that fails where its object says.
#include <larder/provider.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "soak/host-object.h"

namespace {

using larder::soak::FailAt;
using larder::soak::FailHow;
using larder::soak::SoakBlock;
using larder::soak::SoakObject;

constexpr std::int32_t kType = LARDER_SOAK_TYPE;

SoakObject ObjectAt(const void* address) {
  SoakObject object;
  std::memcpy(&object, address, sizeof object);
  return object;
}

void FailIf(const SoakObject& object, FailAt at) {
  if (object.at != at) return;
  switch (object.how) {
    case FailHow::kCode:
      throw std::system_error(larder::soak::kFailureCode, std::generic_category(), "soak");
    case FailHow::kText:
      throw std::runtime_error("soak");
    default:
      throw 42;
  }
}

bool HasLoadFault(std::string_view fault) {
  const char* const text = std::getenv(larder::soak::kLoadFaultVariable);
  return text != nullptr && text == std::to_string(kType) + ' ' + std::string(fault);
}

class SoakProvider final : public IDataProvider {
 public:
  std::int32_t GetType() override {
    if (HasLoadFault("bad-type")) return 6;
    return HasLoadFault("other-type") ? (kType + 1) % 6 : kType;
  }

  void GetKey(const void* descriptor, std::uint64_t* key) override {
    const SoakObject object = ObjectAt(descriptor);
    FailIf(object, FailAt::kGetKey);
    *key = object.number;
  }

  void Query(const void* descriptor, std::uint32_t, std::uint64_t*, DbBuffer* result) override {
    const SoakBlock block{.header = {sizeof block, kType}, .object = ObjectAt(descriptor)};
    FailIf(block.object, FailAt::kQuery);
    result->Copy(reinterpret_cast<const unsigned char*>(&block), sizeof block);
    FailIf(block.object, FailAt::kFilledQuery);
  }

  void FreeQuery(DbBuffer* data) override {
    FailIf(ObjectAt(data->data + offsetof(SoakBlock, object)), FailAt::kFreeQuery);
    data->Reset();
  }

  void Write(const void* descriptor, std::uint64_t*, DbBuffer* data) override {
    FailIf(ObjectAt(descriptor), FailAt::kWrite);
    if (data->size != sizeof(SoakBlock)) throw std::runtime_error("a block of another size");
  }
};

}  // namespace

LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) {
  if (HasLoadFault("throws")) throw std::runtime_error("soak");
  *out = new SoakProvider;
}
