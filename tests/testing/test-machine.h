// A machine of a test's own: an empty registry and an empty folder, away from the real ones and
// from those of tests that run at the same time.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/wide.h"

namespace larder {

// From construction to destruction the machine hive that this process sees is a fresh, empty one.
// On Linux child processes see it too; on Windows only the process itself does. Made and destroyed
// while no other thread uses the registry or the environment; one at a time.
class TestMachine {
 public:
  TestMachine();   // throws std::runtime_error or std::system_error
  ~TestMachine();  // takes registry and folder away with all that is in them
  TestMachine(const TestMachine&) = delete;
  TestMachine& operator=(const TestMachine&) = delete;

  // Gives the machine common folders of its own too. On Linux it has them already; on Windows the
  // registry isn't empty any more afterwards, for the system looks its folders up there.
  void UseOwnCommonFolders();

  // Empty at first; for whatever files the test makes.
  const std::filesystem::path& Folder() const { return folder; }
  // The same as a full path with backslashes, one at its end.
  WideString WideFolder() const;

 private:
  std::filesystem::path base;    // holds all that the machine has on disk
  std::filesystem::path folder;  // in base
  // Linux: the root that was set before, if one was. Windows: the name of the key for the hive.
  std::optional<std::string> registry;
};

}  // namespace larder
