// A machine with provider modules, and a host process whose log is recorded from the start.
#pragma once

#include <larder/larder.h>

#include <iterator>
#include <string>
#include <vector>

#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {

class HostMachine {
 public:
  HostMachine();

  // Copies a module of tests/fixtures or of the project to the machine's folder, if it exists.
  void AddModule(const std::string& module);
  // The same, and registers it in the subkey of "DataProviders" with this name. Modules are loaded
  // in the order of these names.
  void AddProvider(const std::string& key, const std::string& module);
  void RemoveProvider(const std::string& key);

  // What the fixtures have reported so far (fixtures/event-log.h), "NAME EVENT" each, in order.
  std::vector<std::string> Events() const;
  int Count(const std::string& event) const;

  // RecordedLog::Text with the machine's folder as "<folder>" and the system's texts of codes as
  // "<text>".
  std::string LogText() const;
  std::string Neutral(std::string text) const;  // the same for a text of whole lines

  RecordedLog log;
  TestMachine machine;
};

// An object descriptor as feed-test and feed-file take it.
struct TestDescriptor {
  explicit TestDescriptor(WideView path) { path.copy(filePath, std::size(filePath) - 1); }

  std::uint32_t lastModified[2] = {0, 0};
  LarderWideChar filePath[260] = {};
};

// One life of a handle with two providers; tests/golden/session.txt has its log. For programs that
// link the library's objects.
void LiveGoldenSession(HostMachine& host);

// A callback that fails the test.
void UnexpectedCall(std::int32_t message);

WideString Wide(const std::string& ascii);

}  // namespace larder
