// The library's own share of a query and of a write: the calls of a client, beside the calls that
// the library makes to the provider.
#include <larder/provider.h>

#include <cstring>
#include <stdexcept>
#include <vector>

#include "machine.h"
#include "platform/scoped-handle.h"
#include "suite.h"

namespace larder {
namespace {

constexpr std::int32_t kType = 4;
constexpr std::size_t kBlockSize = std::size_t{1} << 20;

struct ReadyMachine : Machine {
  ReadyMachine() { Register({"feed-ready.dll"}); }
};

struct Client {
  const FileObjectDescriptor descriptor{{0, 0}, {'a'}};
  ReadyMachine& machine = Shared<ReadyMachine>();
  Host host;
};

void QueryAndFree(benchmark::State& state) {
  const Client& client = Shared<Client>();
  for (auto _ : state) {
    DataBlockHeader* data = nullptr;
    LarderQuery(client.host.handle, &client.descriptor, kType, 0, &data, LARDER_QUERY_VERSION);
    LarderFreeQuery(client.host.handle, data);
  }
}
BENCHMARK(QueryAndFree);
// Longer: the system may leave both threads on one processor for some tens of milliseconds.
BENCHMARK(QueryAndFree)->Name("QueryAndFreeBy2")->Threads(2)->MinTime(0.5);

// Another object of the provider's class, from the same module.
struct Provider {
  Provider() {
    const WideString path = Shared<ReadyMachine>().WidePath("feed-ready.dll");
    if (platform::OpenModule(path, module.Out()) != platform::kSuccess) {
      throw std::runtime_error("feed-ready.dll can't be loaded");
    }
    IDataProvider* created = nullptr;
    const platform::Symbol symbol = platform::FindSymbol(module.Get(), "GetProvider");
    reinterpret_cast<GetProviderFunction>(symbol)(&created);
    object.reset(created);
  }

  platform::OwnedModule module;
  std::unique_ptr<IDataProvider> object;  // destroyed before its module is unloaded
};

void VirtualCalls(benchmark::State& state) {
  IDataProvider* const provider = Shared<Provider>().object.get();
  const FileObjectDescriptor descriptor{{0, 0}, {'a'}};
  for (auto _ : state) {
    std::uint64_t key = 0;
    DbBuffer result;
    provider->GetKey(&descriptor, &key);
    provider->Query(&descriptor, 0, &key, &result);
    DbBuffer freed;
    freed.TakeOwnership(result.Release(), 0);
    provider->FreeQuery(&freed);
  }
}
BENCHMARK(VirtualCalls);

std::vector<unsigned char> MakeBlock() {
  std::vector<unsigned char> block(kBlockSize, 'x');
  const DataBlockHeader header{kBlockSize, kType};
  std::memcpy(block.data(), &header, sizeof header);
  return block;
}

void Write(benchmark::State& state) {
  const Client& client = Shared<Client>();
  const auto block = MakeBlock();
  const auto* data = reinterpret_cast<const DataBlockHeader*>(block.data());
  for (auto _ : state) LarderWrite(client.host.handle, &client.descriptor, kType, data);
}
BENCHMARK(Write);

void CopyAndDelete(benchmark::State& state) {
  const auto block = MakeBlock();
  for (auto _ : state) {
    auto* const copy = new unsigned char[block.size()];
    std::memcpy(copy, block.data(), block.size());
    benchmark::DoNotOptimize(copy);
    benchmark::ClobberMemory();
    delete[] copy;
  }
}
BENCHMARK(CopyAndDelete);

}  // namespace
}  // namespace larder
