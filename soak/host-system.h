// What the runs of the library need of the system.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

#include "soak/host-state.h"

namespace larder::soak {

Footprint TakeFootprint();

// The environment of this process, as modules read it. Empty text removes the variable.
void SetVariable(const char* name, const char* text);

// Opens the files of the folder as a program that reads logs, and keeps them for the time.
void HoldLogs(const std::filesystem::path& logs, std::chrono::milliseconds time);
bool HoldingPreventsRenaming();

// Once in a process, before BadFolder.
void PrepareBadFolder(const std::filesystem::path& folder);

// For this process, the folder can't be used until the end of the scope, for a reason with this
// number: there is no room in it, it can't be written, it is gone.
class BadFolder {
 public:
  BadFolder(std::filesystem::path folder, std::uint64_t number);
  ~BadFolder();
  BadFolder(const BadFolder&) = delete;
  BadFolder& operator=(const BadFolder&) = delete;

 private:
  const std::filesystem::path folder;
  const std::uint64_t state;
};

}  // namespace larder::soak
