// Calls of a provider as the host makes them.
#pragma once

#include <larder/provider.h>

#include "tools/larder/check/check-report.h"
#include "tools/larder/status/thrown.h"

namespace larder::tool {

// Reports exceptions that the host can't pass on. Thread-safe if the provider is.
class ProviderCalls {
 public:
  ProviderCalls(IDataProvider& newProvider, CheckReport& newReport)
      : provider(newProvider), report(newReport) {}

  // GetKey and Query. block: empty.
  Thrown Ask(const void* object, DbBuffer& block) const;
  // GetKey and Write, with an empty block.
  void WriteNothing(const void* object) const;
  // FreeQuery. The buffer is empty afterwards: what the provider has left in it isn't freed,
  // because the provider may have freed it.
  void GiveBack(DbBuffer& block) const;

 private:
  Thrown Report(const char* function, Thrown thrown) const;

  IDataProvider& provider;
  CheckReport& report;
};

}  // namespace larder::tool
