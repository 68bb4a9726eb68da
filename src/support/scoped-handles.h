// Owners of system handles: each closes its handle when it goes out of scope, after a TRACE line
// that names it. They move and don't copy; an object belongs to one thread at a time.
#pragma once

#include <utility>

#include "platform/handle.h"
#include "platform/module.h"
#include "platform/registry.h"

namespace larder {

// Traits: the raw handle, its empty value, the closing call, and the report of the closing.
template <typename Traits>
class ScopedHandle {
 public:
  using Raw = typename Traits::Raw;

  ScopedHandle() noexcept = default;
  explicit ScopedHandle(Raw owned) noexcept : raw(owned) {}
  ScopedHandle(ScopedHandle&& other) noexcept : raw(other.Take()) {}
  // Closes what this object holds, without a line, and takes the other's handle.
  ScopedHandle& operator=(ScopedHandle&& other) noexcept {
    Replace(other.Take());
    return *this;
  }
  // The same with a handle that nobody owns yet.
  ScopedHandle& operator=(Raw other) noexcept requires Traits::kAssignable {
    Replace(other);
    return *this;
  }
  ScopedHandle(const ScopedHandle&) = delete;
  ScopedHandle& operator=(const ScopedHandle&) = delete;
  // The line comes first and whatever the value, the empty one included.
  ~ScopedHandle() {
    Traits::Report(raw);
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

// Null isn't empty here: a failed creation of an event gives null, which the closing call refuses.
struct KernelHandleTraits {
  using Raw = platform::Handle;
  static constexpr bool kAssignable = true;
  static Raw Empty() noexcept { return platform::InvalidHandle(); }
  static void Close(Raw raw) noexcept { platform::CloseObject(raw); }
  static void Report(Raw raw) noexcept;
};

struct ModuleHandleTraits {
  using Raw = platform::ModuleHandle;
  static constexpr bool kAssignable = false;
  static Raw Empty() noexcept { return nullptr; }
  static void Close(Raw raw) noexcept { platform::CloseModule(raw); }
  static void Report(Raw raw) noexcept;
};

struct RegistryKeyTraits {
  using Raw = platform::RegistryKey;
  static constexpr bool kAssignable = false;
  static Raw Empty() noexcept { return nullptr; }
  static void Close(Raw raw) noexcept { platform::CloseRegistryKey(raw); }
  static void Report(Raw raw) noexcept;
};

using AutoHandle = ScopedHandle<KernelHandleTraits>;
using AutoModuleHandle = ScopedHandle<ModuleHandleTraits>;
using AutoRegKeyHandle = ScopedHandle<RegistryKeyTraits>;

}  // namespace larder
