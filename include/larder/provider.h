// Larder: the contract of a provider module.
//
// A provider is a dynamic library that exports one function, GetProvider, and implements
// IDataProvider. The agreement is binary: the order of the virtual operations, the layout of
// DbBuffer and the layout of the records (records.h) are all that host and module share.
//
// Compiler families: host and modules must come from the same one. The families disagree on the
// virtual table (a virtual destructor takes one slot or two) and exceptions, which are how a
// provider reports failure, don't cross from one to the other. On Windows the modules share one
// C++ runtime library for the same reason; never link it statically.
//
// Threads: GetProvider, GetType and the destructor run one at a time under the host's lock. The
// four other operations arrive on any thread, at the same time, in any order.
#ifndef LARDER_PROVIDER_H
#define LARDER_PROVIDER_H

#include <larder/records.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

// The library's own DbBuffer reports each operation to its log; a module's doesn't. Each kind has
// a name of its own for the linker, so that both can live in one process or even in one binary.
#ifdef LARDER_HOST
inline namespace larder_host {
#else
inline namespace larder_module {
#endif

// Carries a data block between host and provider: owns what it points to, moves, doesn't copy.
// The memory is that of new unsigned char[]. Both sides touch the fields; their order and width are
// part of the contract. One call on one thread at a time.
class DbBuffer {
 public:
  std::uint64_t size = 0;         // bytes in data; 0 in a buffer that came through LarderFreeQuery
  unsigned char* data = nullptr;  // the block, or null

  DbBuffer() noexcept;
  // A new uninitialised block of that many bytes; none if size is 0. Throws std::bad_alloc.
  explicit DbBuffer(std::uint64_t size);
  DbBuffer(DbBuffer&& other) noexcept;
  DbBuffer& operator=(DbBuffer&& other) noexcept;
  DbBuffer(const DbBuffer&) = delete;
  DbBuffer& operator=(const DbBuffer&) = delete;
  ~DbBuffer();

  // Frees the block; the buffer is empty afterwards.
  void Reset() noexcept;
  // Replaces the contents with a copy. The source may lie inside the old contents, which survive a
  // failed allocation (std::bad_alloc).
  void Copy(const unsigned char* source, std::uint64_t size);
  // Frees the old block and adopts another without a copy.
  void TakeOwnership(unsigned char* block, std::uint64_t size) noexcept;
  // Gives the block away: the caller owns it now, and the buffer is empty.
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

// Implemented by a provider, called by the host. Failure is reported by throwing, and in no other
// way: a std::system_error out of GetKey or Query becomes the result of LarderQuery with its code's
// value as it stands; any other exception becomes LARDER_E_GENERIC. The exception's text is logged.
class IDataProvider {
 public:
  // The provider's type, 0 to 5; no two modules of one machine may have the same. Called once,
  // right after GetProvider.
  virtual std::int32_t GetType() = 0;

  // Fills result with the data block for the object, or leaves it empty when there is nothing to
  // tell. The block opens with DataBlockHeader, whose providerType is this provider's. It goes to
  // the client as it stands and must stay valid until FreeQuery. objectDescriptor is the client's,
  // key is what GetKey stored; both are good for this call only.
  virtual void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t* key,
                     DbBuffer* result) = 0;

  // Computes the object's key. Comes before every Query and Write; the object may be unknown.
  virtual void GetKey(const void* objectDescriptor, std::uint64_t* key) = 0;

  // Takes back a block of Query, perhaps on another thread. data->size is 0 here: read dataSize
  // from the block. Free it with the allocator that made it and take it out of the buffer
  // (Reset or Release); what the buffer still holds afterwards is freed by the host.
  virtual void FreeQuery(DbBuffer* data) = 0;

  // Stores a block. The buffer holds the host's copy, which the host frees when the call returns:
  // copy the bytes, or leave. It is empty for a block whose dataSize is 0.
  virtual void Write(const void* objectDescriptor, std::uint64_t* key, DbBuffer* data) = 0;

  // Called by the host before it unloads the module. Must not throw.
  virtual ~IDataProvider() = default;

  IDataProvider(const IDataProvider&) = delete;
  IDataProvider& operator=(const IDataProvider&) = delete;

 protected:
  IDataProvider() = default;
};

// The one export of a provider module, by the plain name "GetProvider". Stores a new object through
// out, never null; the host owns it from then on and ends it through the virtual destructor.
//
//   LARDER_PROVIDER_EXPORT void GetProvider(IDataProvider** out) { *out = new MyProvider; }
#ifdef _WIN32
#define LARDER_PROVIDER_EXPORT extern "C" __declspec(dllexport)
#else
#define LARDER_PROVIDER_EXPORT extern "C" __attribute__((visibility("default")))
#endif

using GetProviderFunction = void (*)(IDataProvider** out);

#endif
