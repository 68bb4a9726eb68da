#include "providers/data-provider-mgr.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "log/log-pieces.h"
#include "product/product.h"
#include "providers/provider-discovery.h"

namespace larder {

namespace {

std::runtime_error Failure(int number, const std::string& message) {
  return std::runtime_error(__FILE__ ":" + std::to_string(number) + " " + message);
}

// Sign-extended to 64 bits and printed as unsigned.
std::string TypeText(std::int32_t type) {
  return std::to_string(static_cast<std::uint64_t>(static_cast<std::int64_t>(type)));
}

// Thrown in place of a module's own exception: unwinding unloads the module, and with it the code
// and data of that exception.
struct UnknownFailure {};

}  // namespace

DataProviderManager::Provider::Provider() {
  ScopeTrace scope("Entering DataProviderManager::Provider::Provider()",
                   "Leaving DataProviderManager::Provider::Provider()");
}

DataProviderManager::Provider::Provider(AutoModuleHandle&& loadedModule)
    : module(std::move(loadedModule)) {
  ScopeTrace scope("Entering DataProviderManager::Provider::Provider()",
                   "Leaving DataProviderManager::Provider::Provider()");
  const platform::Symbol symbol = platform::FindSymbol(module.Get(), kProviderExport);
  if (symbol == nullptr) {
    throw Failure(30, PointerText(module.Get()) + " does not have GetProvider symbol.");
  }
  try {
    reinterpret_cast<GetProviderFunction>(symbol)(&dataProvider);
    LogTrace("Got data provider interface ", dataProvider, " from ", module.Get());
    type = dataProvider->GetType();
  } catch (const std::exception& error) {
    throw std::runtime_error(error.what());
  } catch (...) {
    throw UnknownFailure();
  }
}

DataProviderManager::Provider::Provider(Provider&& other) noexcept {
  ScopeTrace scope("Entering DataProviderManager::Provider::Provider()",
                   "Leaving DataProviderManager::Provider::Provider()");
  Swap(other);
}

DataProviderManager::Provider& DataProviderManager::Provider::operator=(Provider&& other) noexcept {
  ScopeTrace scope("Entering DataProviderManager::Provider::operator =()",
                   "Leaving DataProviderManager::Provider::operator =()");
  Swap(other);
  return *this;
}

DataProviderManager::Provider::~Provider() {
  ScopeTrace scope("Entering DataProviderManager::Provider::~Provider()",
                   "Leaving DataProviderManager::Provider::~Provider()");
  delete dataProvider;
}

void DataProviderManager::Provider::Swap(Provider& other) noexcept {
  module.Swap(other.module);
  std::swap(dataProvider, other.dataProvider);
  std::swap(type, other.type);
}

std::int32_t DataProviderManager::Provider::GetType() {
  ScopeTrace scope("Entering DataProviderManager::Provider::GetType()",
                   "Leaving DataProviderManager::Provider::GetType()");
  LogTrace("Returning ", type, " for module ", module.Get());
  return type;
}

DataProviderManager::DataProviderManager() : providers(kProviderTypeCount) {
  ScopeTrace scope("Entering DataProviderManager::DataProviderManager()",
                   "Leaving DataProviderManager::DataProviderManager()");
  const std::vector<WideString> paths = GetDataProviderPaths();
  if (paths.empty()) throw Failure(92, "No data providers found in the registry.");
  for (const WideString& path : paths) Load(path);
}

DataProviderManager::~DataProviderManager() {
  ScopeTrace scope("Entering DataProviderManager::~DataProviderManager()",
                   "Leaving DataProviderManager::~DataProviderManager()");
}

void DataProviderManager::Load(const WideString& path) {
  LogTrace("Loading data provider ", path);
  AutoModuleHandle module;
  const platform::Code code = platform::OpenModule(path, module.Out());
  if (module.IsEmpty()) {
    throw Failure(
        123, "Failed to load dll " + WideToUtf8(path) + " " + WideToUtf8(FormatSystemError(code)));
  }
  LogTrace("Got HMODULE ", module.Get());
  Provider provider(std::move(module));
  const std::int32_t type = provider.GetType();
  // The handle has moved into the provider, so the two texts name the null handle that is left, not
  // the module's.
  if (!IsProviderType(type)) {
    throw Failure(
        110, "Unexpected data provider type " + TypeText(type) + " in " + PointerText(nullptr));
  }
  Provider& slot = providers[static_cast<std::size_t>(type)];
  if (slot.Get() != nullptr) {
    throw Failure(115, "Already have a provider for provider type " + TypeText(type) + " in " +
                           PointerText(nullptr));
  }
  slot = std::move(provider);
}

void DataProviderManager::ThrowNoProvider(std::int32_t type) {
  if (!IsProviderType(type)) {
    throw Failure(144, "Unexpected data provider type " + TypeText(type) + " requested.");
  }
  throw Failure(149, "No provider for provider type " + TypeText(type));
}

}  // namespace larder
