// The machine of the library's runs: its registry, its logs and the installer's signal.
#pragma once

#include <filesystem>

#include "platform/handle.h"

namespace larder::soak {

enum class Providers { kSoak, kProduct };

// The folder's machine with the product set up, its providers and the runs' own registered, and the
// installer's message.
void PrepareHostMachine(const std::filesystem::path& folder);

// Registers the six providers of the runs, or those of the product. No process may be in
// LarderInit.
void UseProviders(Providers providers);
void SwitchLog(bool on);

std::filesystem::path LogsFolder(const std::filesystem::path& folder);
// As far as the system permits: a process may have one open.
void DeleteLogs(const std::filesystem::path& folder);

class InstallerSignal {
 public:
  InstallerSignal();   // opens it; throws Fault
  ~InstallerSignal();  // lowers it
  InstallerSignal(const InstallerSignal&) = delete;
  InstallerSignal& operator=(const InstallerSignal&) = delete;

  void Raise();
  void Lower();

 private:
  platform::Handle event = nullptr;
};

}  // namespace larder::soak
