// The file provider, type 1: records of files, from the store or computed by the query module.
//
// A FileObjectDescriptor names the file; larder/feed-file.h has the query options and the
// requirements for a written record. A file that doesn't exist has no data. A descriptor whose
// lastModified is neither 0 nor the file's gets the result LARDER_E_FILE_ID_MISMATCH. Anything that
// isn't a regular file or can't be read is an exception with the path and the reason.
#pragma once

#include <larder/provider.h>

#include <cstdint>
#include <memory>

#include "common/object-identity.h"
#include "feed-file/fact-store.h"
#include "feed-file/query-module.h"

namespace larder::feed {

class FeedFileProvider final : public IDataProvider {
 public:
  // Loads the query module that the registry names. Throws std::runtime_error if it can't be used.
  FeedFileProvider();

  std::int32_t GetType() override;
  void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t* key,
             DbBuffer* result) override;
  void GetKey(const void* objectDescriptor, std::uint64_t* key) override;
  void FreeQuery(DbBuffer* data) override;
  void Write(const void* objectDescriptor, std::uint64_t* key, DbBuffer* data) override;

 private:
  bool FindStored(const ObjectIdentity& wanted, DbBuffer* result);
  void Compute(const ObjectIdentity& wanted, DbBuffer* result);

  const QueryModule query;
  const std::shared_ptr<FactStore> store;
};

}  // namespace larder::feed
