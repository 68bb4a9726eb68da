// A machine for one test: an empty registry and an empty folder that neither the real machine nor
// tests that run at the same time share.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/wide.h"

namespace larder {

// During its lifetime this process uses a new, empty machine hive; on Linux its child processes do
// too. At most one exists at a time. No other thread may use the registry or the environment while
// it is constructed or destroyed.
class TestMachine {
 public:
  TestMachine();   // throws std::runtime_error or std::system_error
  ~TestMachine();  // deletes the registry and the folder with their contents
  TestMachine(const TestMachine&) = delete;
  TestMachine& operator=(const TestMachine&) = delete;

  // Gives the machine its own common folders too. On Linux it has them from the start. On Windows
  // this adds values to the registry, where the system looks its folders up.
  void UseOwnCommonFolders();

  // For the test's files; empty at first.
  const std::filesystem::path& Folder() const { return folder; }
  // The same as a full path with backslashes and a final backslash.
  WideString WideFolder() const;

 private:
  std::filesystem::path base;    // everything that the machine has on disk
  std::filesystem::path folder;  // in base
  // Linux: the root that was set before, if any. Windows: the key that serves as the hive.
  std::optional<std::string> registry;
};

}  // namespace larder
