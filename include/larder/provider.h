// Larder: the interface of a provider module. C++20.
//
// A provider is a dynamic library that exports one function, GetProvider, and implements
// IDataProvider. The interface is binary: host and module share the order of the virtual functions,
// the layout of DbBuffer and the layout of the records (larder/records.h), and nothing else.
//
// Compilers: host and modules must be built by the same compiler family. Families lay out virtual
// tables differently (a virtual destructor takes one slot or two), and exceptions, by which a
// provider reports failure, don't cross from one to the other. On Windows all modules must also use
// the shared C++ runtime; never link it statically.
//
// Threads: the host calls GetProvider, GetType and the destructor one at a time, holding its lock.
// It calls the other four functions from any thread, concurrently and in any order.
//
// Traps:
// - Unloading. The host unloads the module right after it has destroyed the object. Every thread of
//   the module must have ended by then. If a client never releases its handle, the destructor isn't
//   called, and the module isn't unloaded.
// - The loader lock (Windows). A client may call LarderInit and LarderRelease from a DLL's entry
//   point. Until the entry point returns, a new thread doesn't begin, and a thread that ends
//   doesn't signal its handle. So don't wait for either in GetProvider or in the destructor.
// - Exceptions. One that leaves the constructor of a static object or the destructor of
//   IDataProvider ends the process.
// - GetProvider must not call LarderInit, which would load the modules again, without end.
// - If GetType throws, the host unloads the module without destroying the object.
// - If GetKey or Query throws a std::system_error with the value 0, the client gets LARDER_OK and
//   no block.
// - Write may take the block out of the buffer (Release) instead of copying it. It then owns the
//   block and must free it with delete[].
// - Fork. The child has a copy of the object, as of all memory, but not the module's threads. No
//   function is called there, but destructors of static objects run when the child exits.
// - Cancellation (pthread_cancel). A client may cancel a thread inside GetKey, Query, FreeQuery and
//   Write, at any call that waits. The stack is unwound as by an exception. A catch (...) must
//   rethrow it, or the process ends. To prevent cancellation, call pthread_setcancelstate.
#ifndef LARDER_PROVIDER_H
#define LARDER_PROVIDER_H

#include <larder/records.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

// The library's DbBuffer logs each operation; a module's doesn't. The inline namespaces give the
// two different link names, so that both can exist in one process or one binary.
#ifdef LARDER_HOST
inline namespace larder_host {
#else
inline namespace larder_module {
#endif

// Owns a data block on its way between host and provider. The block is allocated with
// new unsigned char[]. Movable, not copyable; not thread-safe. Host and module both access the
// fields, so their order and width are fixed.
class DbBuffer {
 public:
  // Bytes in data; 0 in the buffer passed to FreeQuery.
  std::uint64_t size = 0;
  // The block, or null.
  unsigned char* data = nullptr;

  // No block.
  DbBuffer() noexcept;
  // Allocates an uninitialized block; none if size is 0. Throws std::bad_alloc.
  explicit DbBuffer(std::uint64_t size);
  // Takes the other's block and leaves the other empty.
  DbBuffer(DbBuffer&& other) noexcept;
  // The same, after freeing this one's block.
  DbBuffer& operator=(DbBuffer&& other) noexcept;
  DbBuffer(const DbBuffer&) = delete;
  DbBuffer& operator=(const DbBuffer&) = delete;
  // Frees the block.
  ~DbBuffer();

  // Frees the block and leaves the buffer empty.
  void Reset() noexcept;
  // Replaces the block with a copy of source, which may be inside the old block. Throws
  // std::bad_alloc and then leaves the old block in place.
  void Copy(const unsigned char* source, std::uint64_t size);
  // Frees the old block and takes ownership of another, without copying.
  void TakeOwnership(unsigned char* block, std::uint64_t size) noexcept;
  // Passes ownership of the block to the caller and leaves the buffer empty.
  [[nodiscard]] unsigned char* Release() noexcept;
};

#ifndef LARDER_HOST

inline DbBuffer::DbBuffer() noexcept = default;

inline DbBuffer::DbBuffer(std::uint64_t newSize)
    : size(newSize), data(newSize == 0 ? nullptr : new unsigned char[newSize]) {}

inline DbBuffer::DbBuffer(DbBuffer&& other) noexcept
    : size(std::exchange(other.size, 0)), data(std::exchange(other.data, nullptr)) {}

inline DbBuffer& DbBuffer::operator=(DbBuffer&& other) noexcept {
  Reset();
  std::swap(size, other.size);
  std::swap(data, other.data);
  return *this;
}

inline DbBuffer::~DbBuffer() { Reset(); }

inline void DbBuffer::Reset() noexcept {
  delete[] std::exchange(data, nullptr);
  size = 0;
}

inline void DbBuffer::Copy(const unsigned char* source, std::uint64_t newSize) {
  DbBuffer copy(newSize);
  if (newSize != 0) std::memcpy(copy.data, source, newSize);
  *this = std::move(copy);
}

inline void DbBuffer::TakeOwnership(unsigned char* block, std::uint64_t newSize) noexcept {
  Reset();
  data = block;
  size = newSize;
}

inline unsigned char* DbBuffer::Release() noexcept {
  size = 0;
  return std::exchange(data, nullptr);
}

#endif  // LARDER_HOST

}  // inline namespace

static_assert(std::is_standard_layout_v<DbBuffer>);
static_assert(offsetof(DbBuffer, size) == 0 && offsetof(DbBuffer, data) == 8);
static_assert(sizeof(DbBuffer) == 16);

// Implemented by a provider, called by the host. A provider reports failure only by throwing. If
// GetKey or Query throws a std::system_error, LarderQuery returns the value of its code; any other
// exception becomes LARDER_E_GENERIC. The host logs the exception's what().
class IDataProvider {
 public:
  // Returns the provider's type, 0 to 5, unique among the modules of a machine. Called once, right
  // after GetProvider.
  virtual std::int32_t GetType() = 0;

  // Stores the object's data block in result, or leaves result empty if there is no data. The block
  // must begin with a DataBlockHeader that has this provider's type. The host passes it to the
  // client unchanged; it must stay valid until FreeQuery. objectDescriptor is the client's, key is
  // what GetKey stored; both are valid during this call only.
  virtual void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t* key,
                     DbBuffer* result) = 0;

  // Stores the object's key. Called before every Query and Write; the object may be unknown.
  virtual void GetKey(const void* objectDescriptor, std::uint64_t* key) = 0;

  // Frees a block from Query, possibly on another thread. data->size is 0 here; the block's
  // dataSize has the size. The provider must free the block with the allocator that allocated it
  // and leave the buffer empty (Reset or Release); the host frees a block that remains in the
  // buffer.
  virtual void FreeQuery(DbBuffer* data) = 0;

  // Stores a block. The host owns the block in the buffer and frees it when the call returns, so
  // copy what must be kept. The buffer is empty if the client's dataSize was 0.
  virtual void Write(const void* objectDescriptor, std::uint64_t* key, DbBuffer* data) = 0;

  // Called by the host before it unloads the module. Must not throw.
  virtual ~IDataProvider() = default;

  IDataProvider(const IDataProvider&) = delete;
  IDataProvider& operator=(const IDataProvider&) = delete;

 protected:
  IDataProvider() = default;
};

// The module's only export, under the undecorated name "GetProvider". Stores a new object in *out,
// never null. The host then owns it and deletes it through the virtual destructor.
//
//   LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) { *out = new MyProvider; }
#ifdef _WIN32
#define LARDER_PROVIDER_EXPORT extern "C" __declspec(dllexport)
#else
#define LARDER_PROVIDER_EXPORT extern "C" __attribute__((visibility("default")))
#endif

// GetProvider, as the host finds it.
using GetProviderFunction = void (*)(IDataProvider** out);

#endif
