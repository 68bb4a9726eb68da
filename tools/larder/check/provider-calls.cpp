#include "tools/larder/check/provider-calls.h"

#include <cstdint>

namespace larder::tool {

Thrown ProviderCalls::Report(const char* function, Thrown thrown) const {
  const std::string place = std::string("in ") + function + ", ";
  if (!thrown.isStandard) report.Fail(Rule::kExceptions, place + thrown.text);
  if (thrown.hasCodeZero) {
    report.Fail(Rule::kExceptions,
                place + "it throws a std::system_error of code 0: the client gets LARDER_OK");
  }
  thrown.text.insert(0, place);
  return thrown;
}

Thrown ProviderCalls::Ask(const void* object, DbBuffer& block) const {
  std::uint64_t key = 0;
  Thrown thrown = Report("GetKey", CatchFrom([&] { provider.GetKey(object, &key); }));
  if (thrown.isAny) return thrown;
  return Report("Query", CatchFrom([&] { provider.Query(object, 0, &key, &block); }));
}

void ProviderCalls::WriteNothing(const void* object) const {
  std::uint64_t key = 0;
  DbBuffer nothing;
  if (Report("GetKey", CatchFrom([&] { provider.GetKey(object, &key); })).isAny) return;
  Report("Write", CatchFrom([&] { provider.Write(object, &key, &nothing); }));
}

void ProviderCalls::GiveBack(DbBuffer& block) const {
  block.size = 0;  // as it comes back from a client
  const Thrown thrown = Report("FreeQuery", CatchFrom([&] { provider.FreeQuery(&block); }));
  if (thrown.isAny) report.Fail(Rule::kFreeQuery, thrown.text);
  if (block.Release() != nullptr) {
    report.Fail(Rule::kFreeQuery, "the block is still in the buffer, and the host frees it too");
  }
}

}  // namespace larder::tool
