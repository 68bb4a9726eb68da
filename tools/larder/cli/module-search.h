// Where the system searches for the modules that this process loads.
#pragma once

namespace larder::tool {

// Takes the current folder out of the search for modules that are loaded by a bare name, and for
// what they depend on. Otherwise a file that someone left in the folder where an administrator runs
// the tool would be loaded into it. Call it before anything is loaded, in each process: a child
// need not inherit it. Linux doesn't search the current folder unless LD_LIBRARY_PATH says so.
void LeaveCurrentFolderOutOfSearch() noexcept;

}  // namespace larder::tool
