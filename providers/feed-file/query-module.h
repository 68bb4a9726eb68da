// The file provider's query module: where it is, and the loaded module with its object.
#pragma once

#include <memory>

#include "common/file-query.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"

namespace larder::feed {

// The path of the query module: szLocation of the key Install, followed immediately by szFileQuery
// of the key DataProviders\FeedFile or, if that doesn't exist, by "stock-file-query.dll". Throws as
// ReadRegistryText does.
WideString QueryModulePath();

// Thread-safe but for creation and destruction.
class QueryModule {
 public:
  // Throws std::runtime_error, with the path and the reason, if the module can't be loaded, doesn't
  // export GetFileQuery or creates no object. The module is unloaded then.
  explicit QueryModule(const WideString& path);

  IFileQuery* operator->() const { return query.get(); }

 private:
  class File {
   public:
    explicit File(const WideString& path);

    std::unique_ptr<IFileQuery> MakeQuery(const WideString& path) const;

   private:
    platform::OwnedModule module;
  };

  File file;  // destroyed after the object
  std::unique_ptr<IFileQuery> query;
};

}  // namespace larder::feed
