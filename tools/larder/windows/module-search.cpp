#include "tools/larder/cli/module-search.h"

#include <windows.h>

#include <array>

namespace larder::tool {

// The folder named here replaces the current one in the search. The system's own folder is searched
// anyway. The empty name should remove the current folder as well, but wine ignores it.
void LeaveCurrentFolderOutOfSearch() noexcept {
  std::array<wchar_t, MAX_PATH> folder{};
  const UINT length = GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
  SetDllDirectoryW(length < folder.size() ? folder.data() : L"");
}

}  // namespace larder::tool
