#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/owned-event.h"

namespace larder::platform {
namespace {

TEST(EventObjectTest, TheNameIsTheSystemsAsItStands) {
  const WideString name = L"larder-test-event-" + std::to_wstring(GetCurrentProcessId());
  const Handle event = NewNamedEvent(name);
  ASSERT_NE(event, nullptr);
  const HANDLE other = OpenEventW(SYNCHRONIZE, FALSE, name.c_str());
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
  EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
  EXPECT_EQ(LowerEvent(event), kSuccess);
  EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_TIMEOUT});
  CloseHandle(other);
  CloseObject(event);
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.c_str());
  ASSERT_NE(mutex, nullptr);
  EXPECT_EQ(NewNamedEvent(name), nullptr);
  CloseHandle(mutex);
}

}  // namespace
}  // namespace larder::platform
