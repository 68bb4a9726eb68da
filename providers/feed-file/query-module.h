// The file provider's hold on its query module: the loaded module and the module's object.
#pragma once

#include <memory>

#include "common/file-query.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"

namespace larder::feed {

// szLocation of the key Install and szFileQuery of the key DataProviders\FeedFile, joined as they
// stand; "stock-file-query.dll" where no szFileQuery is. Both keys lie below
// Software\Velmor\Larder\ in the machine's registry, and both values are of type REG_SZ with at
// most 98 characters: throws std::runtime_error, with the value's name and the reason, for one that
// is there and can't be used.
WideString QueryModulePath();

// Made and destroyed on one thread at a time; used on any.
class QueryModule {
 public:
  // Throws std::runtime_error, with the path and the reason, if the module can't be loaded, has no
  // GetFileQuery or makes no object; nothing of the module is left loaded then.
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

  File file;  // goes last
  std::unique_ptr<IFileQuery> query;
};

}  // namespace larder::feed
