#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/event.h"

namespace larder::platform {
namespace {

WideString UniqueName() { return L"larder-test-event-" + std::to_wstring(GetCurrentProcessId()); }

TEST(EventObjectTest, TheNameIsTheSystemsAsItStands) {
  const Handle event = MakeNamedEvent(UniqueName());
  ASSERT_NE(event, nullptr);
  const HANDLE other = OpenEventW(SYNCHRONIZE, FALSE, UniqueName().c_str());
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
  EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
  EXPECT_EQ(LowerEvent(event), kSuccess);
  EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_TIMEOUT});
  CloseHandle(other);
  CloseObject(event);
}

TEST(EventObjectTest, WhenTheNameIsAnotherObjectsThereIsNoEvent) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, UniqueName().c_str());
  ASSERT_NE(mutex, nullptr);
  EXPECT_EQ(MakeNamedEvent(UniqueName()), nullptr);
  CloseHandle(mutex);
}

}  // namespace
}  // namespace larder::platform
