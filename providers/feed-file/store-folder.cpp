#include "feed-file/store-folder.h"

#include <stdexcept>
#include <string>

#include "common/object-identity.h"
#include "feed-file/store-engine.h"
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
void Remove(WideString folder) {
  folder.append(2, LarderWideChar{0});
  static_cast<void>(platform::DeleteTree(folder.c_str()));
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

void PrepareStoreFolder(const WideString& storeFolder) {
  const platform::Code made = platform::MakeFolder(storeFolder);
  if (made == platform::kSuccess) return;
  std::uint32_t attributes = 0;
  platform::Code code = made;
  if (code == platform::kAlreadyExists) code = platform::PathAttributes(storeFolder, attributes);
  if (code != platform::kSuccess && code != platform::kCannotResolveName) {
    throw StoreError(
        "Can't create the folder " + Quoted(storeFolder) + ": " + platform::SystemReason(code),
        false);
  }
  if ((attributes & platform::kAttributeDirectory) == 0) {
    throw StoreError(Quoted(storeFolder) + " isn't a folder", true);
  }
  for (const WideView file : {LARDER_WIDE("\\data.mdb"), LARDER_WIDE("\\lock.mdb")}) {
    static_cast<void>(platform::RemoveFile(WideString(storeFolder).append(file)));
  }
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
