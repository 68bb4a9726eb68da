// The loaded provider modules, by type.
#pragma once

#include <larder/provider.h>

#include <cstdint>
#include <vector>

#include "support/scoped-handles.h"

namespace larder {

// A fixed table of live providers, indexed by provider type. Construction is all or nothing: every
// module that the registry names is loaded and filed, or an exception leaves the constructor and
// nothing stays loaded.
//
// Every exception is a std::runtime_error whose text begins with the source unit, a colon, a number
// and a blank. The numbers are part of the texts that support looks for; they don't follow the
// lines of the source.
//
// Threads: construction and destruction run under the handle's lock. In between the table doesn't
// change, and GetDataProvider may run on any number of threads.
class DataProviderManager {
 public:
  DataProviderManager();
  // Each provider is destroyed and then its module unloaded, by ascending type.
  ~DataProviderManager();
  DataProviderManager(const DataProviderManager&) = delete;
  DataProviderManager& operator=(const DataProviderManager&) = delete;

  // The provider of a type; never null, owned by the manager, to be used at once.
  IDataProvider* GetDataProvider(std::int32_t type);

  // One loaded module and its provider object. An empty one has three zero fields.
  class Provider {
   public:
    Provider();
    // Takes the module over and asks it for its provider. When that fails, the module is unloaded,
    // and an object that it had made already isn't destroyed.
    explicit Provider(AutoModuleHandle&& loadedModule);
    Provider(Provider&& other) noexcept;
    // Swaps all with the other, so that the old contents die with it.
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

  std::vector<Provider> providers;
};

}  // namespace larder
