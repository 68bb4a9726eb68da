#include "platform/entry.h"

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  using namespace larder::platform;
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      return OnModuleAttach(instance) ? TRUE : FALSE;
    case DLL_PROCESS_DETACH:
      return OnModuleDetach() ? TRUE : FALSE;
    default:
      return TRUE;
  }
}
