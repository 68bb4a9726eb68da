// The test provider, type 2: keeps blocks in memory, for authors of providers and of clients.
//
// An object is named by a FileObjectDescriptor and is whatever its lastModified and filePath say
// together; nothing on disk is touched. Write stores a copy of the block, replacing the one before;
// with an empty buffer (a block whose dataSize is 0) it forgets the object. Query returns what was
// written, with providerType set to 2, or no data for an object that nobody wrote. The query option
// is ignored. Everything is gone when the provider is.
//
// Write throws for a block that is shorter than its header and for one whose dataSize isn't the
// buffer's size; an empty path is an exception everywhere.
//
// A path whose last component (what follows the last backslash, or the whole path) begins with
// "fail:" is a script that makes operations fail:
//
//   script    = "fail:" step { ";" step }
//   step      = ( "getkey" | "freequery" | "write" ) "=" failure
//             | "query=" ( "empty" | [ "filled," ] failure )
//   failure   = "code:" number    a std::system_error with this code
//             | "text:" text      a std::runtime_error with this text, in UTF-8
//             | "unknown"         something that isn't a std::exception
//   number    = signed 32-bit decimal number: [ "-" ] digits
//   text      = any characters but ";" and "\", none included
//
// "empty" leaves the buffer empty whatever was written; "filled," puts the block into the buffer
// before the failure, or a bare header if nothing was written. Operations without a step work.
// Words are lower case and nothing may stand between them. For example:
//
//   fail:query=code:-15                      LarderQuery returns -15
//   C:\any\fail:write=text:The disk is full  LarderWrite returns LARDER_E_GENERIC
//   fail:getkey=unknown                      both fail before the provider is asked for more
//   fail:query=filled,code:7                 returns 7; the block in the buffer is freed
//   fail:freequery=code:1;query=empty        two steps
//
// FreeQuery has no descriptor: a block remembers the script of the path it was queried under. A
// failing FreeQuery leaves the block in the buffer.
// A malformed script is an exception of every operation that has the path.
#pragma once

#include <larder/provider.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "common/object-identity.h"
#include "feed-test/failure-script.h"

namespace larder::feed {

class FeedTestProvider final : public IDataProvider {
 public:
  std::int32_t GetType() override;
  void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t* key,
             DbBuffer* result) override;
  void GetKey(const void* objectDescriptor, std::uint64_t* key) override;
  void FreeQuery(DbBuffer* data) override;
  void Write(const void* objectDescriptor, std::uint64_t* key, DbBuffer* data) override;

 private:
  using Block = std::vector<unsigned char>;
  // A key isn't an identity: the table hashes with it, and compares the whole identity.
  struct HashIdentity {
    std::size_t operator()(const ObjectIdentity& identity) const noexcept {
      return static_cast<std::size_t>(KeyOf(identity));
    }
  };

  Block Find(const ObjectIdentity& identity);
  void Remember(const unsigned char* block, const Outcome& freeOutcome);
  Outcome TakeFreeOutcome(const unsigned char* block);

  std::mutex mutex;  // guards the two tables
  std::unordered_map<ObjectIdentity, Block, HashIdentity> objects;
  std::map<const unsigned char*, Outcome> freeOutcomes;  // of blocks that a client holds
};

}  // namespace larder::feed
