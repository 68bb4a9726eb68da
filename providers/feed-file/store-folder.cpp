#include "feed-file/store-folder.h"

#include <stdexcept>
#include <string>

#include "common/object-identity.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "platform/message.h"
#include "product/product.h"

namespace larder::feed {
namespace {

[[noreturn]] void Fail(const char* what, const WideString& path, platform::Code code) {
  throw std::runtime_error(what + Quoted(path) + ": " + platform::SystemReason(code));
}

void Create(const WideString& folder) {
  const platform::Code code = platform::MakeFolder(folder);
  if (code != platform::kSuccess && code != platform::kAlreadyExists) {
    Fail("Can't create the folder ", folder, code);
  }
}

// If this fails, so does the renaming that follows, which reports it.
void Remove(const WideString& folder) {
  for (const WideView file : {LARDER_WIDE("\\data.mdb"), LARDER_WIDE("\\lock.mdb")}) {
    static_cast<void>(platform::RemoveFile(WideString(folder).append(file)));
  }
  static_cast<void>(platform::RemoveFolder(folder));
}

}  // namespace

WideString MakeStoreFolder() {
  WideString path;
  const platform::Code code = platform::CommonFolderPath(platform::CommonFolder::kData, path);
  if (code != platform::kSuccess) {
    throw std::runtime_error("The system has no folder for common data: " +
                             platform::SystemReason(code));
  }
  for (const WideView level : {kMakerFolder, kProductFolder, kDatabasesFolder,
                               LARDER_WIDE("feed-file"), LARDER_WIDE("store")}) {
    path += '\\';
    Create(path.append(level));
  }
  return path;
}

WideString TurnFile(const WideString& storeFolder) {
  return storeFolder.substr(0, storeFolder.rfind(u'\\') + 1) + LARDER_WIDE("turn.lock");
}

std::uint64_t StoreIndex(const WideString& storeFolder) {
  platform::FileInfo info;
  platform::FileKind kind{};
  static_cast<void>(
      platform::QueryPathInfo(storeFolder + LARDER_WIDE("\\data.mdb"), info, kind));  // 0 then
  return info.index;
}

WideString SetStoreAside(const WideString& storeFolder) {
  WideString other = storeFolder.substr(0, storeFolder.rfind(u'\\') + 1);
  other += LARDER_WIDE("set-aside");
  Remove(other);
  const platform::Code code = platform::RenameFile(storeFolder, other);
  if (code != platform::kSuccess) Fail("Can't set aside ", storeFolder, code);
  Create(storeFolder);
  return other;
}

}  // namespace larder::feed
