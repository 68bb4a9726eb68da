#include "platform/file-time.h"

#include <windows.h>

#include <array>

#include "platform/scoped-handle.h"
#include "platform/windows/native.h"

namespace larder::platform {
namespace {

// Whether the file is on a local file system that is known to store times with a fine resolution.
bool HasFineTimes(Handle file) {
  std::array<wchar_t, MAX_PATH + 1> name{};
  if (GetVolumeInformationByHandleW(Native(file), nullptr, 0, nullptr, nullptr, nullptr,
                                    name.data(), static_cast<DWORD>(name.size())) == FALSE) {
    return false;
  }
  FILE_REMOTE_PROTOCOL_INFO remote{};
  const bool isRemote = GetFileInformationByHandleEx(Native(file), FileRemoteProtocolInfo, &remote,
                                                     sizeof remote) != FALSE;
  return !isRemote && (WideView(name.data()) == L"NTFS" || WideView(name.data()) == L"ReFS");
}

}  // namespace

std::uint64_t CurrentFileTime() noexcept {
  FILETIME now;
  GetSystemTimePreciseAsFileTime(&now);
  return std::uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
}

std::uint64_t FileTimeGranularity(const WideString& path) {
  constexpr std::uint64_t kTick = 200'000;  // 20 ms: the clock's tick of 15.6 ms and a margin
  constexpr std::uint64_t kCoarse = 20'000'000;
  OwnedHandle file;
  const Code code = OpenNativeFile(path, kOpenAttributes, file.Out());
  return code == kSuccess && HasFineTimes(file.Get()) ? kTick : kCoarse;
}

}  // namespace larder::platform
