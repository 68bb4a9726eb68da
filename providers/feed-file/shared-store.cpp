#include "feed-file/shared-store.h"

#include <mutex>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

#include "common/registry-value.h"
#include "feed-file/store-folder.h"
#include "feed-file/store-log.h"
#include "platform/lock.h"
#include "platform/thread.h"

namespace larder::feed {
namespace {

constexpr std::uint32_t kDefaultLimit = 1024;  // MiB
constexpr const LarderWideChar* kLimitName = LARDER_WIDE("dwStoreLimitMiB");

struct Holder {
  platform::Lock lock;  // guards store
  std::weak_ptr<FactStore> store;
};

Holder CurrentHolder;

// The store is the parent's, and another thread of the parent may have held the lock.
void ForgetStoreInForkedChild() { new (&CurrentHolder) Holder; }

void WatchForks() {
  static const bool isWatched = (platform::CallInForkedChild(ForgetStoreInForkedChild), true);
  static_cast<void>(isWatched);
}

std::uint32_t LimitInMiB() try {
  return ReadRegistryNumber(LARDER_WIDE("DataProviders\\FeedFile"), kLimitName)
      .value_or(kDefaultLimit);
} catch (const std::runtime_error& error) {
  LogWarning(error.what() + std::string("; the default is used: ") + std::to_string(kDefaultLimit));
  return kDefaultLimit;
}

std::unique_ptr<FactStore> OpenStore() {
  const std::uint64_t limit = std::uint64_t{LimitInMiB()} << 20;
  if (limit == 0) return std::make_unique<FactStore>(WideString(), 0, kStoreIsOff);
  try {
    return std::make_unique<FactStore>(MakeStoreFolder(), limit);
  } catch (const std::runtime_error& error) {
    LogWarning(error.what() + std::string("; there is no store"));
    return std::make_unique<FactStore>(WideString(), 0, error.what());
  }
}

// In a forked child, the parent's threads and connections can't be ended.
void Destroy(FactStore* store) {
  if (!store->IsOfParent()) delete store;
}

// Null while nobody holds the store.
std::shared_ptr<FactStore> HeldStore() {
  const std::lock_guard guard(CurrentHolder.lock);
  return CurrentHolder.store.lock();
}

}  // namespace

std::shared_ptr<FactStore> SharedStore() {
  WatchForks();
  const std::lock_guard guard(CurrentHolder.lock);
  std::shared_ptr<FactStore> store = CurrentHolder.store.lock();
  if (!store) CurrentHolder.store = store = {OpenStore().release(), Destroy};
  return store;
}

FileFigures SharedFigures() {
  const std::shared_ptr<FactStore> store = HeldStore();
  return store ? store->Figures() : FileFigures{};
}

void VisitShared(const StoredRecordVisitor& visit) {
  const std::shared_ptr<FactStore> store = HeldStore();
  if (!store) throw StoreError("the process has no provider's object", false);
  store->VisitAll(visit);
}

}  // namespace larder::feed
