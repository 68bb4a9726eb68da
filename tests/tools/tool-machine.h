// A machine whose registry the child processes of a test see as well. One source for each system.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace larder {

// From construction to destruction there is nothing below the library's root in the registry that
// this process and its children see, but what they put there. On Linux that is a registry of the
// test's own; on Windows it is the machine's real one, where everything below the library's root is
// deleted, so that only one test at a time may do this.
class ToolMachine {
 public:
  ToolMachine();
  ~ToolMachine();
  ToolMachine(const ToolMachine&) = delete;
  ToolMachine& operator=(const ToolMachine&) = delete;

  // Empty at first; deleted with the machine.
  const std::filesystem::path& Folder() const;

  // From now on no key can be made below the library's root, not even by an administrator. While
  // there is nothing below it.
  void ForbidNewKeys();

  // From now on a key below the library's root, which is there already, can't be opened.
  void ForbidKey(const std::string& name);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts;
};

}  // namespace larder
