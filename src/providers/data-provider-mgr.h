// The loaded provider modules, by type.
#pragma once

#include <larder/provider.h>

#include <cstdint>
#include <vector>

#include "log/log-statement.h"
#include "product/product.h"
#include "support/scoped-handles.h"

namespace larder {

// A table of providers, indexed by type. Construction is all or nothing: either every module that
// the registry names is loaded, or an exception leaves the constructor and none stays loaded.
//
// Every exception is a std::runtime_error whose text begins with the source file, a colon, a number
// and a blank. Support searches logs for these texts, so the numbers are fixed; they aren't line
// numbers of today's source.
//
// Threads: construction and destruction run under the handle's lock. The table doesn't change in
// between, and GetDataProvider may be called from any thread.
class DataProviderManager {
 public:
  DataProviderManager();
  // Destroys each provider and then unloads its module, in the order of their types.
  ~DataProviderManager();
  DataProviderManager(const DataProviderManager&) = delete;
  DataProviderManager& operator=(const DataProviderManager&) = delete;

  // The provider of a type; never null, owned by the manager.
  IDataProvider* GetDataProvider(std::int32_t type);

  // One loaded module and its provider object; all fields are zero when empty.
  class Provider {
   public:
    Provider();
    // Takes ownership of the module and calls its GetProvider. On failure the module is unloaded;
    // an object that GetProvider had created is not destroyed.
    explicit Provider(AutoModuleHandle&& loadedModule);
    Provider(Provider&& other) noexcept;
    // Swaps with the other, so that the old contents are destroyed with it.
    Provider& operator=(Provider&& other) noexcept;
    ~Provider();

    std::int32_t GetType();
    IDataProvider* Get() const noexcept { return dataProvider; }

   private:
    void Swap(Provider& other) noexcept;

    AutoModuleHandle module;
    IDataProvider* dataProvider = nullptr;
    std::int32_t type = 0;
  };

 private:
  void Load(const WideString& path);
  [[noreturn]] static void ThrowNoProvider(std::int32_t type);

  std::vector<Provider> providers;
};

inline bool IsProviderType(std::int32_t type) noexcept {
  return type >= 0 && type < kProviderTypeCount;
}

// Inline for the sake of the exports, whose time consists of such short calls.
inline IDataProvider* DataProviderManager::GetDataProvider(std::int32_t type) {
  ScopeTrace scope("Entering DataProviderManager::GetDataProvider()",
                   "Leaving DataProviderManager::GetDataProvider()");
  IDataProvider* const provider =
      IsProviderType(type) ? providers[static_cast<std::size_t>(type)].Get() : nullptr;
  if (provider == nullptr) ThrowNoProvider(type);
  return provider;
}

}  // namespace larder
