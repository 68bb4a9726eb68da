// A machine for one test: an empty registry and an empty folder that neither the real machine nor
// tests that run at the same time share.
#pragma once

#include <filesystem>

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

  // On Windows adds values to the registry, where the system looks its common folders up. On Linux
  // the machine has its own from the start.
  void UseOwnCommonFolders();

  // For the test's files; empty at first.
  const std::filesystem::path& Folder() const { return folder; }
  // The same as a full path with backslashes and a final backslash.
  WideString WideFolder() const;

 private:
  const std::filesystem::path base;    // all that the machine has on disk
  const std::filesystem::path folder;  // in base
};

// Lets every user change a folder or a file.
void OpenToEverybody(const std::filesystem::path& path);

}  // namespace larder
