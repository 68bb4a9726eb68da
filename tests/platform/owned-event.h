// Events that are closed at the end of their scope, and waits for them.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "platform/event.h"

namespace larder::platform {

inline Handle NewEvent() {
  Handle event = nullptr;
  EXPECT_EQ(MakeEvent(event), kSuccess);
  return event;
}

// Null if it can't be made.
inline Handle NewNamedEvent(const WideString& name) {
  Handle event = InvalidHandle();
  const Code code = MakeNamedEvent(name, event);
  EXPECT_EQ(code == kSuccess, event != nullptr);
  return event;
}

class OwnedEvent {
 public:
  explicit OwnedEvent(Handle made) : handle(made) { EXPECT_NE(made, nullptr); }
  ~OwnedEvent() { CloseObject(handle); }
  OwnedEvent(const OwnedEvent&) = delete;
  OwnedEvent& operator=(const OwnedEvent&) = delete;
  operator Handle() const { return handle; }

 private:
  Handle handle;
};

// The index of the lowest raised event; a number that is none if the wait fails.
inline std::size_t Wait(const std::vector<Handle>& events) {
  std::size_t index = 0;
  const Code code = WaitForAny(events.data(), events.size(), index);
  EXPECT_EQ(code, kSuccess);
  return code == kSuccess ? index : events.size();
}

// Whether an event is raised, by a wait that ends in any case.
inline bool IsRaised(Handle event) {
  const OwnedEvent raised(NewEvent());
  RaiseEvent(raised);
  return Wait({event, raised}) == 0;
}

}  // namespace larder::platform
