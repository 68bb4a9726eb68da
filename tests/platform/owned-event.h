// Events that are closed at the end of their scope, and waits for them.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "platform/event.h"
#include "platform/scoped-handle.h"

namespace larder::platform {

class OwnedEvent {
 public:
  OwnedEvent() { EXPECT_EQ(MakeEvent(handle.Out()), kSuccess); }
  explicit OwnedEvent(const WideString& name) {
    EXPECT_EQ(MakeNamedEvent(name, handle.Out()), kSuccess);
  }
  operator Handle() const { return handle.Get(); }

 private:
  OwnedHandle handle;
};

// The index of the lowest raised event; the number of events if the wait fails.
inline std::size_t Wait(const std::vector<Handle>& events) {
  std::size_t index = 0;
  const Code code = WaitForAny(events.data(), events.size(), index);
  EXPECT_EQ(code, kSuccess);
  return code == kSuccess ? index : events.size();
}

// The code of an attempt to make a named event.
inline Code TryToMakeEvent(const WideString& name) {
  OwnedHandle event;
  return MakeNamedEvent(name, event.Out());
}

// Whether an event is raised, by a wait that ends in either case.
inline bool IsRaised(Handle event) {
  const OwnedEvent raised;
  RaiseEvent(raised);
  return Wait({event, raised}) == 0;
}

}  // namespace larder::platform
