// The test provider, type 2: keeps blocks in memory, for authors of providers and of clients.
//
// The lastModified and filePath of a FileObjectDescriptor together name an object; files aren't
// accessed. Write stores a copy of the block and replaces the previous one; with an empty buffer (a
// block whose dataSize is 0) it removes the object. Query returns the block that was written, with
// providerType set to 2, or no data if the object doesn't exist. The query option is ignored. All
// objects are lost when the provider is destroyed.
//
// Write throws if the block is shorter than its header or its dataSize isn't the buffer's size. All
// operations throw if the path is empty.
//
// If the last component of the path (what follows the last backslash, or the whole path) begins
// with "fail:", it is a script that makes operations fail:
//
//   script    = "fail:" step { ";" step }
//   step      = ( "getkey" | "freequery" | "write" ) "=" failure
//             | "query=" ( "empty" | [ "filled," ] failure )
//   failure   = "code:" number    a std::system_error with this code
//             | "text:" text      a std::runtime_error with this text, in UTF-8
//             | "unknown"         something that isn't a std::exception
//   number    = signed 32-bit decimal number: [ "-" ] digits
//   text      = any characters except ";" and "\"; may be empty
//
// "empty" leaves the buffer empty, whatever was written. "filled," copies the block into the buffer
// before the failure, or only a header if nothing was written. Operations without a step work.
// Words are in lower case, without spaces between them. For example:
//
//   fail:query=code:-15                      LarderQuery returns -15
//   C:\any\fail:write=text:The disk is full  LarderWrite returns LARDER_E_GENERIC
//   fail:getkey=unknown                      both fail at GetKey
//   fail:query=filled,code:7                 returns 7; the block in the buffer is freed
//   fail:freequery=code:1;query=empty        two steps
//
// FreeQuery has no descriptor, so the script of the path that was queried applies to the block. If
// FreeQuery fails, the block remains in the buffer. All operations with a path throw if its script
// is malformed.
#pragma once

#include <larder/provider.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

#include "common/object-identity.h"
#include "feed-test/failure-script.h"
#include "platform/lock.h"

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
  // The key serves as the hash; the table compares whole identities.
  struct HashIdentity {
    std::size_t operator()(const ObjectIdentity& identity) const noexcept {
      return static_cast<std::size_t>(KeyOf(identity));
    }
  };

  Block Find(const ObjectIdentity& identity);
  void Remember(const unsigned char* block, const Outcome& freeOutcome);
  Outcome TakeFreeOutcome(const unsigned char* block);

  platform::Lock mutex;  // guards the two tables
  std::unordered_map<ObjectIdentity, Block, HashIdentity> objects;
  std::map<const unsigned char*, Outcome> freeOutcomes;  // of the blocks that clients hold
};

}  // namespace larder::feed
