#include "soak/shared-memory.h"

#include <windows.h>

#include <system_error>

namespace larder::soak {
namespace {

[[noreturn]] void Fail(const std::filesystem::path& file, DWORD code) {
  throw std::system_error(static_cast<int>(code), std::system_category(), file.string());
}

HANDLE TryOpen(const std::filesystem::path& file, DWORD disposition) {
  return CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE,
                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, disposition,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Waits while the provider reads the file, which it doesn't share with writers.
HANDLE Open(const std::filesystem::path& file, DWORD disposition) {
  HANDLE handle = TryOpen(file, disposition);
  for (int i = 0; handle == INVALID_HANDLE_VALUE; ++i) {
    if (GetLastError() != ERROR_SHARING_VIOLATION || i == 10'000) Fail(file, GetLastError());
    Sleep(1);
    handle = TryOpen(file, disposition);
  }
  return handle;
}

}  // namespace

Mapping::Mapping(const std::filesystem::path& file) {
  const HANDLE handle = Open(file, OPEN_EXISTING);
  LARGE_INTEGER size{};
  GetFileSizeEx(handle, &size);
  const HANDLE section = CreateFileMappingW(handle, nullptr, PAGE_READWRITE, 0, 0, nullptr);
  const DWORD code = GetLastError();
  CloseHandle(handle);
  if (section == nullptr) Fail(file, code);
  void* const memory = MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0);
  const DWORD viewCode = GetLastError();
  CloseHandle(section);
  if (memory == nullptr) Fail(file, viewCode);
  bytes = {static_cast<char*>(memory), static_cast<std::size_t>(size.QuadPart)};
}

Mapping::~Mapping() { UnmapViewOfFile(bytes.data()); }

void ReserveFile(const std::filesystem::path& file, std::size_t size) {
  CloseHandle(Open(file, OPEN_ALWAYS));
  std::filesystem::resize_file(file, size);
}

}  // namespace larder::soak
