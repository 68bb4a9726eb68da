// The objects behind handles: a class for each kind.
#pragma once

#include <utility>

#include "platform/handle.h"
#include "platform/linux/file-descriptor.h"

namespace larder::platform {

struct KernelObject {
  KernelObject() = default;
  virtual ~KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;
};

// A file, whatever it was opened for.
struct FileObject : KernelObject {
  explicit FileObject(FileDescriptor opened) noexcept : descriptor(std::move(opened)) {}
  FileDescriptor descriptor;
};

// The object behind a handle; null if the handle is empty or of another kind.
template <typename Object>
Object* ObjectOf(Handle handle) noexcept {
  return handle == InvalidHandle() ? nullptr : dynamic_cast<Object*>(handle);
}

}  // namespace larder::platform
