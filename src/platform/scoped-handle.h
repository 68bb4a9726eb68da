// Owners of the system's handles: each closes its handle at the end of its scope. They move and
// don't copy; an object belongs to one thread at a time.
#pragma once

#include <utility>

#include "platform/handle.h"
#include "platform/module.h"
#include "platform/registry.h"

namespace larder::platform {

// Traits: the raw handle, its empty value, the closing call, and whether a raw handle can be
// assigned. A trait Report(raw), if there is one, is called at the start of the destructor,
// whatever the handle, the empty one included.
template <typename Traits>
class ScopedHandle {
 public:
  using Raw = typename Traits::Raw;

  ScopedHandle() noexcept = default;
  explicit ScopedHandle(Raw owned) noexcept : raw(owned) {}
  ScopedHandle(ScopedHandle&& other) noexcept : raw(other.Take()) {}
  // Closes the present handle, without a report, and takes the other's.
  ScopedHandle& operator=(ScopedHandle&& other) noexcept {
    Replace(other.Take());
    return *this;
  }
  // The same with a handle that has no owner yet.
  ScopedHandle& operator=(Raw other) noexcept requires Traits::kAssignable {
    Replace(other);
    return *this;
  }
  ScopedHandle(const ScopedHandle&) = delete;
  ScopedHandle& operator=(const ScopedHandle&) = delete;
  ~ScopedHandle() {
    if constexpr (requires { Traits::Report(raw); }) Traits::Report(raw);
    Close();
  }

  Raw Get() const noexcept { return raw; }
  bool IsEmpty() const noexcept { return raw == Traits::Empty(); }
  void Swap(ScopedHandle& other) noexcept { std::swap(raw, other.raw); }
  // Where an opening call stores its result. The object must be empty.
  Raw& Out() noexcept { return raw; }

 private:
  Raw Take() noexcept {
    const Raw taken = raw;
    raw = Traits::Empty();
    return taken;
  }
  void Replace(Raw other) noexcept {
    Close();
    raw = other;
  }
  void Close() noexcept {
    if (!IsEmpty()) Traits::Close(raw);
  }

  Raw raw = Traits::Empty();
};

// Null isn't empty here: a failed creation of an event gives null, which the closing call ignores.
struct HandleTraits {
  using Raw = Handle;
  static constexpr bool kAssignable = true;
  static Raw Empty() noexcept { return InvalidHandle(); }
  static void Close(Raw raw) noexcept { CloseObject(raw); }
};

struct ModuleHandleTraits {
  using Raw = ModuleHandle;
  static constexpr bool kAssignable = false;
  static Raw Empty() noexcept { return nullptr; }
  static void Close(Raw raw) noexcept { CloseModule(raw); }
};

struct RegistryKeyTraits {
  using Raw = RegistryKey;
  static constexpr bool kAssignable = false;
  static Raw Empty() noexcept { return nullptr; }
  static void Close(Raw raw) noexcept { CloseRegistryKey(raw); }
};

using OwnedHandle = ScopedHandle<HandleTraits>;
using OwnedModule = ScopedHandle<ModuleHandleTraits>;
using OwnedRegistryKey = ScopedHandle<RegistryKeyTraits>;

}  // namespace larder::platform
