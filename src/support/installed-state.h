// What an installation leaves on the machine: taking it away, and setting up a machine on which the
// modules lie beside the running program.
//
// No exported operation comes here: the routines are for the tool, and the library is linked
// without them. They tell nothing to their caller: a failure is a WARN line, and ends the one
// routine in which it happened. Nothing is thrown but std::bad_alloc. Any thread; nothing guards
// the machine against others that change it at the same time.
#pragma once

#include <vector>

#include "platform/wide.h"

namespace larder {

// True when szLocation is the location of a real installation or a leading part of it, without
// case.
bool IsInstalledInCommonFiles();

// Deletes a directory with all that is in it, for good, and then its parent if that is empty.
// The parent stays when the deletion fails. Both paths may end in a backslash.
void DeleteDirectoryAndParentIfEmpty(const WideString& directory, const WideString& parent);

// The data directory (logs and databases), and the maker's data directory if that is empty then.
// Neither this nor the next asks for IsInstalledInCommonFiles.
void DeleteLarderDataDir();
// The directory that GetLarderProgramDir gives, wherever that is, and the maker's directory among
// the common program files if that is empty.
void DeleteLarderProgramDir();
// The data directory without the maker's; silent.
void DeleteLarderDataTree();

// The library's part of the registry, and the maker's key if that has neither subkeys nor values
// then. Nothing at all if IsInstalledInCommonFiles.
void DeleteLarderRegistryEntries();
void DeleteVelmorRegistryKeyIfEmpty();
// The same as DeleteLarderRegistryEntries, with a second look at the maker's key.
void RemoveRegistryIfNotInstalled();

struct DefaultValue {
  WideString subkey;
  WideString name;
  WideString data;
};

// What RegisterDefaultProviders writes, in its order.
std::vector<DefaultValue> DefaultProviderValues();

// Replaces the library's part of the registry by the three providers that come with it, to be found
// in the folder of this process's image. Nothing at all if IsInstalledInCommonFiles.
void RegisterDefaultProviders();

}  // namespace larder
