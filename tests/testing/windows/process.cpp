#include "testing/process.h"

#include <stdlib.h>
#include <windows.h>

namespace larder {

void SetEnvironmentText(const std::string& name, const std::string& value) {
  ::_putenv_s(name.c_str(), value.c_str());
}

bool IsModuleLoaded(const std::filesystem::path& path) {
  return GetModuleHandleW(path.c_str()) != nullptr;
}

bool HasEnded(long process) {
  const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(process));
  if (handle == nullptr) return true;
  const bool hasEnded = WaitForSingleObject(handle, 60'000) == WAIT_OBJECT_0;
  CloseHandle(handle);
  return hasEnded;
}

}  // namespace larder
