// The machine on which a group of benchmarks runs, and a client on it.
#pragma once

#include <larder/larder.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "tools/tool-machine.h"

namespace larder {

// A machine with a registry and a folder of its own, which child processes see too. The folder has
// copies of the modules. At most one exists at a time. Failures are exceptions.
class Machine {
 public:
  Machine();

  const std::filesystem::path& Folder() const { return machine.Folder(); }
  // The library's form of the path of a file in the folder.
  WideString WidePath(const std::string& name) const;

  // Makes LarderInit load these modules of the folder and no others.
  void Register(const std::vector<std::string>& modules) const;
  // Deletes the file provider's store, and all else that the library keeps on disk.
  void RemoveData() const { std::filesystem::remove_all(machine.Data()); }
  // Adds keys that name no module.
  void AddEmptyKeys(std::int64_t count) const;

 private:
  const ToolMachine machine;
};

// LarderInit, and LarderRelease at the end. The callback does nothing.
class Host {
 public:
  Host();
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  LarderHandle handle = nullptr;
};

}  // namespace larder
