// Removes what an installation leaves on the machine, and registers the modules beside the running
// program.
//
// For the tool; the library is linked without these routines. They return nothing: a failure is
// logged as a WARN line and ends the routine. They throw nothing but std::bad_alloc. They may be
// called from any thread, but don't guard against other changes of the machine at the same time.
#pragma once

#include <vector>

#include "platform/wide.h"

namespace larder {

// True if szLocation is the path of a real installation or a prefix of it, compared without case.
bool IsInstalledInCommonFiles();

// Deletes a directory with its contents, permanently, and then its parent if that is empty. The
// parent stays if the deletion fails. Both paths may end in a backslash.
void DeleteDirectoryAndParentIfEmpty(const WideString& directory, const WideString& parent);

// Deletes the data directory (logs and databases), and the maker's data directory if that is then
// empty. Neither this routine nor the next checks IsInstalledInCommonFiles.
void DeleteLarderDataDir();
// Deletes the directory that GetLarderProgramDir returns, wherever that is, and the maker's
// directory among the common program files if that is empty.
void DeleteLarderProgramDir();
// Deletes the data directory but not the maker's; logs nothing.
void DeleteLarderDataTree();

// Deletes the library's part of the registry, and the maker's key if that then has neither subkeys
// nor values. Does nothing if IsInstalledInCommonFiles.
void DeleteLarderRegistryEntries();
void DeleteVelmorRegistryKeyIfEmpty();
// DeleteLarderRegistryEntries, followed by a second check of the maker's key.
void RemoveRegistryIfNotInstalled();

struct DefaultValue {
  WideString subkey;
  WideString name;
  WideString data;
};

// What RegisterDefaultProviders writes, in that order.
std::vector<DefaultValue> DefaultProviderValues();

// Replaces the library's part of the registry by the three providers that come with it, located in
// the folder of this process's image. Does nothing if IsInstalledInCommonFiles.
void RegisterDefaultProviders();

}  // namespace larder
