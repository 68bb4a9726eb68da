// A machine that the child processes of a test see as well. One source for each system.
#pragma once

#include <filesystem>
#include <memory>

namespace larder {

// From construction to destruction the library's part of the registry and its data folder are
// empty, for this process and its children. On Linux the test has its own. On Windows they are the
// machine's: the registry is deleted and the data folder moved aside, so only one test at a time
// may have a ToolMachine.
class ToolMachine {
 public:
  ToolMachine();

  // Empty at first; deleted with the machine.
  const std::filesystem::path& Folder() const { return folder; }

  // The library's data folder, which doesn't exist at first.
  const std::filesystem::path& Data() const { return data; }

 private:
  const std::shared_ptr<void> system;  // restores the machine when it is destroyed
  const std::filesystem::path folder;
  const std::filesystem::path data;
};

}  // namespace larder
