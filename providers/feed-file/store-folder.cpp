#include "feed-file/store-folder.h"

#include <array>
#include <stdexcept>
#include <string>

#include "common/object-identity.h"
#include "feed-file/store-engine.h"
#include "platform/file.h"
#include "platform/folder-access.h"
#include "platform/folder.h"
#include "platform/message.h"
#include "product/product.h"

namespace larder::feed {
namespace {

using platform::OtherUsers;

constexpr std::array<WideView, 4> kAsideNames = {
    LARDER_WIDE("set-aside"), LARDER_WIDE("set-aside-2"), LARDER_WIDE("set-aside-3"),
    LARDER_WIDE("set-aside-4")};

[[noreturn]] void Fail(const char* what, const WideString& path, platform::Code code) {
  throw std::runtime_error(what + Quoted(path) + ": " + platform::SystemReason(code));
}

void RequireTrust(const WideString& path, const std::string& distrust) {
  if (!distrust.empty()) throw StoreError(Quoted(path) + ' ' + distrust, false);
}

void Require(const WideString& folder, platform::Code made) {
  if (made == platform::kSuccess || made == platform::kAlreadyExists) return;
  Fail("Can't create the folder ", folder, made);
}

// A folder that the library creates, too: others may add to it (Windows).
void CreateShared(const WideString& folder) {
  Require(folder, platform::MakeFolder(folder));
  RequireTrust(folder, platform::FolderDistrust(folder, OtherUsers::kMayAdd));
}

// A folder of the store's own.
void CreateOwn(const WideString& folder) {
  Require(folder, platform::MakeProtectedFolder(folder, platform::Readers::kEverybody));
  RequireTrust(folder, platform::FolderDistrust(folder, OtherUsers::kMayNotWrite));
}

// Throws if others could change the store. Other faults of its files are found when they are
// opened.
void RequireTrustInStore(const WideString& storeFolder) {
  RequireTrust(storeFolder, platform::FolderDistrust(storeFolder, OtherUsers::kMayNotWrite));
  for (const WideView name : {LARDER_WIDE("\\facts.db"), LARDER_WIDE("\\facts.db-wal"),
                              LARDER_WIDE("\\facts.db-shm"), LARDER_WIDE("\\facts.db-journal")}) {
    const WideString file = WideString(storeFolder).append(name);
    RequireTrust(file, platform::FileDistrust(file));
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
  RequireTrust(path, platform::CommonFolderDistrust(path));
  for (const WideView level : {kMakerFolder, kProductFolder}) {
    CreateShared((path += '\\').append(level));
  }
  for (const WideView level : {kDatabasesFolder, kFeedFileFolder}) {
    CreateOwn((path += '\\').append(level));
  }
  return (path += '\\').append(kStoreFolder);
}

WideString TurnFile(const WideString& storeFolder) {
  return storeFolder.substr(0, storeFolder.rfind(u'\\') + 1) + LARDER_WIDE("turn.lock");
}

void PrepareStoreFolder(const WideString& storeFolder) {
  const platform::Code made =
      platform::MakeProtectedFolder(storeFolder, platform::Readers::kEverybody);
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
  RequireTrustInStore(storeFolder);
  for (const WideView file : {LARDER_WIDE("\\data.mdb"), LARDER_WIDE("\\lock.mdb")}) {
    static_cast<void>(platform::RemoveFile(WideString(storeFolder).append(file)));
  }
}

WideString SetStoreAside(const WideString& storeFolder) {
  const WideString parent = storeFolder.substr(0, storeFolder.rfind(u'\\') + 1);
  platform::Code code = platform::kAlreadyExists;
  // What can't be deleted, for example another user's file, keeps its name.
  for (const WideView name : kAsideNames) {
    WideString other = WideString(parent).append(name);
    Remove(other);
    code = platform::RenameFile(storeFolder, other);
    if (code == platform::kSuccess) {
      CreateOwn(storeFolder);
      return other;
    }
    if (code != platform::kAlreadyExists) break;
  }
  Fail("Can't set aside ", storeFolder, code);
}

}  // namespace larder::feed
