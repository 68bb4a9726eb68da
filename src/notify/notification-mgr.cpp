#include "notify/notification-mgr.h"

#include <exception>
#include <system_error>

#include "log/log-statement.h"
#include "platform/event.h"
#include "platform/thread.h"
#include "product/product.h"
#include "support/registry.h"

namespace larder {

namespace {

constexpr LarderWideChar kUpgrade[] = LARDER_WIDE("upgrade");
constexpr LarderWideChar kUninstall[] = LARDER_WIDE("uninstall");
constexpr std::int32_t kUpgradeMessage = 0;
constexpr std::int32_t kUninstallMessage = 1;

}  // namespace

// The events aren't checked: with a null one the wait fails, and the thread logs that.
NotificationManager::NotificationManager(const IntLarderHandle* handle) : owner(handle) {
  platform::MakeNamedEvent(kInstallerEvent, installerEvent.Out());
  platform::MakeEvent(shutdownEvent.Out());
  ScopeTrace scope("Entering NotificationManager::NotificationManager()",
                   "Leaving NotificationManager::NotificationManager()");
  if (platform::StartThread(RunThread, this, waitThread.Out()) != platform::kSuccess) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
}

NotificationManager::~NotificationManager() {
  ScopeTrace scope("Entering NotificationManager::~NotificationManager()",
                   "Leaving NotificationManager::~NotificationManager()");
  platform::RaiseEvent(shutdownEvent.Get());
  if (platform::WaitForThread(waitThread.Get()) != platform::kSuccess) std::terminate();
}

void NotificationManager::RunThread(void* manager) {
  static_cast<NotificationManager*>(manager)->WaitForNotification();
}

void NotificationManager::WaitForNotification() noexcept {
  ScopeTrace scope("Entering NotificationManager::WaitForNotification()",
                   "Leaving NotificationManager::WaitForNotification()");
  // The first event wins when both are raised.
  const platform::Handle events[] = {shutdownEvent.Get(), installerEvent.Get()};
  std::size_t index = 0;
  const platform::Code code = platform::WaitForAny(events, std::size(events), index);
  if (code != platform::kSuccess) {
    LogError("WAIT_FAILED in NotificationManager::WaitForNotification() ", FormatSystemError(code));
    return;
  }
  if (index == 0) {
    LogTrace("Shutdown event in NotificationManager::WaitForNotification()");
    return;
  }
  SendNotification();
}

void NotificationManager::SendNotification() noexcept {
  ScopeTrace scope("Entering NotificationManager::SendNotification()",
                   "Leaving NotificationManager::SendNotification()");
  const WideString message = GetRegistryString(kInstallKey, kMessageValue);
  LogTrace("Read \"", message, "\" from registry.");
  if (message == kUpgrade) {
    CallBack(kUpgradeMessage);
  } else if (message == kUninstall) {
    CallBack(kUninstallMessage);
    uninstalling.store(true);
  } else {
    LogWarn("Unknown installerMessage ", message);
  }
}

void NotificationManager::CallBack(std::int32_t message) {
  LogTrace("Calling callback with ", message);
  const LarderNotifyCallback callback = CallbackOf(*owner);
  callback(message);
}

}  // namespace larder
