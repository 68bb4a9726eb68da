// A machine with provider modules on it, and a host process that has logged from the start.
#pragma once

#include <larder/larder.h>

#include <string>
#include <vector>

#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {

class HostMachine {
 public:
  HostMachine();

  // Puts a module of tests/fixtures or of the project on the machine, if there is one.
  void AddModule(const std::string& module);
  // The same, and registers it under the name of a subkey of "DataProviders"; registration follows
  // the order of these names.
  void AddProvider(const std::string& key, const std::string& module);
  void RemoveProvider(const std::string& key);

  // What the fixtures have written about their lives so far, "NAME EVENT" each, in order.
  std::vector<std::string> Events() const;
  // How often one line stands there.
  int Count(const std::string& event) const;

  // The log as RecordedLog::Text gives it, with the machine's folder as "<folder>" and the system's
  // texts of codes as "<text>".
  std::string LogText() const;

  RecordedLog log;
  TestMachine machine;
};

// A callback for tests that expect no call.
void UnexpectedCall(std::int32_t message);

WideString Wide(const std::string& ascii);

}  // namespace larder
