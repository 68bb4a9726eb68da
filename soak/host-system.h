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

// While an object exists, this process can't use the folder. number chooses the reason: the folder
// is full, can't be written to, or doesn't exist.
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
