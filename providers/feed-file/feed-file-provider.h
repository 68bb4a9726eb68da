// The file provider, type 1: the digests of a file's bytes.
//
// An object is named by a FileObjectDescriptor. The query module reads the whole file and makes the
// FileDataRecord that Query answers with; the query option is ignored. No data for a file that
// doesn't exist; the result LARDER_E_FILE_ID_MISMATCH when the descriptor's lastModified isn't 0
// and isn't the file's; an exception with the path and the reason for what isn't a regular file or
// can't be read. Nothing is stored yet: each query reads the file, and Write always throws.
#pragma once

#include <larder/provider.h>

#include <cstdint>

#include "feed-file/query-module.h"

namespace larder::feed {

class FeedFileProvider final : public IDataProvider {
 public:
  // Loads the query module that the registry names; throws std::runtime_error if it can't.
  FeedFileProvider();

  std::int32_t GetType() override;
  void Query(const void* objectDescriptor, std::uint32_t queryOption, std::uint64_t* key,
             DbBuffer* result) override;
  void GetKey(const void* objectDescriptor, std::uint64_t* key) override;
  void FreeQuery(DbBuffer* data) override;
  void Write(const void* objectDescriptor, std::uint64_t* key, DbBuffer* data) override;

 private:
  const QueryModule query;
};

}  // namespace larder::feed
