// Waits for the installer's signal and calls the client's callback.
#pragma once

#include <larder/larder.h>

#include <atomic>
#include <cstdint>

#include "support/scoped-handles.h"

namespace larder {

class IntLarderHandle;

// The callback that the handle was built with. Defined by the room that owns the handle.
LarderNotifyCallback CallbackOf(const IntLarderHandle& handle) noexcept;

// Waits for one signal, on a thread of its own. The installer writes "upgrade" or "uninstall" to
// the value szMessage of the key "Install" and then raises the event "InstallerEvent"; the client's
// callback is called with 0 or 1. The thread ends after the first signal, whatever the message was.
//
// An exception out of the callback ends the process, and so does destroying the object on the
// notification thread.
class NotificationManager {
 public:
  // owner: the handle under construction, with its callback set. Throws std::system_error if the
  // thread can't be started.
  explicit NotificationManager(const IntLarderHandle* handle);
  // Ends the wait and joins the thread. Waits for the client's callback if that is running.
  ~NotificationManager();
  NotificationManager(const NotificationManager&) = delete;
  NotificationManager& operator=(const NotificationManager&) = delete;

 private:
  static void RunThread(void* manager);
  void WaitForNotification() noexcept;
  void SendNotification() noexcept;
  void CallBack(std::int32_t message);

  const IntLarderHandle* owner;
  AutoHandle installerEvent;
  AutoHandle shutdownEvent;
  platform::OwnedHandle waitThread;
  std::atomic<bool> uninstalling{false};  // set, but never read
};

}  // namespace larder
