#include "platform/event.h"

#include <windows.h>

#include <algorithm>
#include <array>

#include "platform/scoped-handle.h"
#include "platform/windows/native.h"

namespace larder::platform {
namespace {

Code MakeManualEvent(const wchar_t* name, Handle& event) {
  event = reinterpret_cast<Handle>(CreateEventW(nullptr, TRUE, FALSE, name));
  return event != nullptr ? kSuccess : LastError();
}

}  // namespace

Code MakeEvent(Handle& event) noexcept { return MakeManualEvent(nullptr, event); }

Code MakeNamedEvent(const WideString& name, Handle& event) {
  event = nullptr;
  if (name.empty() || name.find(L'\0') != WideString::npos) return kInvalidName;
  return MakeManualEvent(name.c_str(), event);
}

Code QueryNamedEvent(const WideString& name, bool& isRaised) {
  if (name.empty() || name.find(L'\0') != WideString::npos) return kInvalidName;
  const OwnedHandle event(reinterpret_cast<Handle>(OpenEventW(SYNCHRONIZE, FALSE, name.c_str())));
  if (event.Get() == nullptr) {
    const Code code = LastError();
    if (code == kFileNotFound) isRaised = false;
    return code == kFileNotFound ? kSuccess : code;
  }
  const DWORD result = WaitForSingleObject(Native(event.Get()), 0);
  if (result != WAIT_OBJECT_0 && result != WAIT_TIMEOUT) return LastError();
  isRaised = result == WAIT_OBJECT_0;
  return kSuccess;
}

Code RaiseEvent(Handle event) noexcept {
  if (IsEmpty(event)) return kInvalidHandle;
  return SetEvent(Native(event)) != FALSE ? kSuccess : LastError();
}

Code LowerEvent(Handle event) noexcept {
  if (IsEmpty(event)) return kInvalidHandle;
  return ResetEvent(Native(event)) != FALSE ? kSuccess : LastError();
}

Code WaitForAny(const Handle* events, std::size_t count, std::size_t& index) noexcept {
  if (count == 0 || count > MAXIMUM_WAIT_OBJECTS) return kInvalidParameter;
  if (std::any_of(events, events + count, IsEmpty)) return kInvalidHandle;
  std::array<HANDLE, MAXIMUM_WAIT_OBJECTS> natives;
  std::transform(events, events + count, natives.begin(), Native);
  const DWORD result =
      WaitForMultipleObjects(static_cast<DWORD>(count), natives.data(), FALSE, INFINITE);
  if (result >= WAIT_OBJECT_0 + count) return LastError();
  index = result - WAIT_OBJECT_0;
  return kSuccess;
}

}  // namespace larder::platform
