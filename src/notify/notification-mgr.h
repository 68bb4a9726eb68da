// Waits for the installer's signal and tells the client.
#pragma once

#include <larder/larder.h>

#include <atomic>
#include <cstdint>
#include <thread>

#include "support/scoped-handles.h"

namespace larder {

class IntLarderHandle;

// The callback that the handle was built with; given by the room that owns the handle.
LarderNotifyCallback CallbackOf(const IntLarderHandle& handle) noexcept;

// Watches for one signal in its lifetime, on a thread of its own. The installer writes "upgrade" or
// "uninstall" as szMessage under "Install" and then raises the event "InstallerEvent"; the client's
// callback is called with 0 or 1. After the first signal the thread has ended, whatever the message
// was. Nobody else is told, and nothing else changes.
//
// An exception out of the callback, and a destruction on the notification thread itself, end the
// process.
class NotificationManager {
 public:
  // owner: the handle that is being built, whose callback is set already; used only at the moment
  // of the call. Throws std::system_error when the thread can't be started.
  explicit NotificationManager(const IntLarderHandle* handle);
  // Ends the wait and joins the thread, which may be in the client's callback.
  ~NotificationManager();
  NotificationManager(const NotificationManager&) = delete;
  NotificationManager& operator=(const NotificationManager&) = delete;

 private:
  void WaitForNotification() noexcept;
  void SendNotification() noexcept;
  void CallBack(std::int32_t message);

  const IntLarderHandle* owner;
  AutoHandle installerEvent;
  AutoHandle shutdownEvent;
  std::thread waitThread;
  std::atomic<bool> uninstalling{false};  // a record only
};

}  // namespace larder
