#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/owned-event.h"

namespace larder::platform {
namespace {

TEST(EventSystemTest, TheNameIsTheSystemsOwn) {
  const WideString name = L"larder-test-event-" + std::to_wstring(GetCurrentProcessId());
  {
    const OwnedEvent event(name);
    const HANDLE other = OpenEventW(SYNCHRONIZE, FALSE, name.c_str());
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(RaiseEvent(event), kSuccess);
    EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(LowerEvent(event), kSuccess);
    EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_TIMEOUT});
    CloseHandle(other);
  }
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.c_str());
  ASSERT_NE(mutex, nullptr);
  EXPECT_NE(TryToMakeEvent(name), kSuccess);
  CloseHandle(mutex);
}

}  // namespace
}  // namespace larder::platform
