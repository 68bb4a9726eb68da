#include "tools/larder/check/process-resources.h"

#include <windows.h>

#include <malloc.h>
#include <tlhelp32.h>

namespace larder::tool {

std::size_t CountThreads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  if (snapshot == INVALID_HANDLE_VALUE) return 0;
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  std::size_t count = 0;
  for (BOOL isAny = Thread32First(snapshot, &entry); isAny != FALSE;
       isAny = Thread32Next(snapshot, &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  }
  CloseHandle(snapshot);
  return count;
}

// Tries each value that a handle may have: not every system implements GetProcessHandleCount.
std::size_t CountHandles() {
  constexpr ULONG_PTR kBeyondAnyHandle = 0x4000;
  std::size_t count = 0;
  for (ULONG_PTR value = 4; value < kBeyondAnyHandle; value += 4) {
    DWORD flags = 0;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE) ++count;
  }
  return count;
}

std::size_t CountHeapBytes() {
  std::size_t bytes = 0;
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the runtime has the handle as a number
  const HANDLE heap = reinterpret_cast<HANDLE>(_get_heap_handle());
  HeapLock(heap);
  PROCESS_HEAP_ENTRY entry{};
  while (HeapWalk(heap, &entry) != FALSE) {
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
  }
  HeapUnlock(heap);
  return bytes;
}

}  // namespace larder::tool
