// Calls of a provider as the host makes them, and what it throws.
#pragma once

#include <larder/provider.h>

#include <exception>
#include <string>
#include <system_error>

#include "tools/larder/check/check-report.h"

namespace larder::tool {

// What a call threw; nothing if it returned.
struct Thrown {
  bool isAny = false;
  std::string text;  // "it throws an exception: <what()>"
  bool isStandard = true;
  bool hasCodeZero = false;  // the host would take it for a success
};

// The text is read while the module is loaded, since the exception's code may be in it.
template <typename Call>
Thrown CatchFrom(const Call& call) {
  const auto textOf = [](const std::exception& error) {
    return "it throws an exception: " + std::string(error.what()).substr(0, kMaxExceptionText);
  };
  try {
    call();
    return {};
  } catch (const std::system_error& error) {
    return {true, textOf(error), true, error.code().value() == 0};
  } catch (const std::exception& error) {
    return {true, textOf(error)};
  } catch (...) {
    return {true, "it throws something that isn't a std::exception", false};
  }
}

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
