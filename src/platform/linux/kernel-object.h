// What stands behind a Handle: a class for each kind of object, each in its own group.
#pragma once

#include "platform/handle.h"

namespace larder::platform {

struct KernelObject {
  KernelObject() = default;
  virtual ~KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;
};

// The object of this kind behind a handle; null for any other handle.
template <typename Object>
Object* ObjectOf(Handle handle) noexcept {
  return handle == InvalidHandle() ? nullptr : dynamic_cast<Object*>(handle);
}

}  // namespace larder::platform
