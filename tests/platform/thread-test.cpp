#include "platform/thread.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "platform/event.h"

namespace larder::platform {
namespace {

struct Close {
  void operator()(KernelObject* handle) const { CloseObject(handle); }
};
using OwnedHandle = std::unique_ptr<KernelObject, Close>;

// Two events, and what a thread does with them.
struct Work {
  OwnedHandle go{MakeEvent()};
  OwnedHandle done{MakeEvent()};
  std::thread::id worker;

  static void Wait(const OwnedHandle& event) {
    const Handle handle = event.get();
    std::size_t index = 1;
    EXPECT_EQ(WaitForAny(&handle, 1, index), kSuccess);
  }
  static void Body(void* argument) {
    auto* work = static_cast<Work*>(argument);
    Wait(work->go);
    work->worker = std::this_thread::get_id();
    RaiseEvent(work->done.get());
  }
};

TEST(ThreadTest, TheBodyRunsOnAThreadOfItsOwnAndTheWaitEndsAfterIt) {
  Work work;
  const OwnedHandle thread(StartThread(Work::Body, &work));
  ASSERT_NE(thread, nullptr);
  RaiseEvent(work.go.get());
  WaitForThread(thread.get());
  EXPECT_NE(work.worker, std::thread::id());
  EXPECT_NE(work.worker, std::this_thread::get_id());
}

TEST(ThreadTest, ClosingTheHandleDoesNotEndTheThread) {
  Work work;
  OwnedHandle thread(StartThread(Work::Body, &work));
  ASSERT_NE(thread, nullptr);
  thread.reset();
  RaiseEvent(work.go.get());
  Work::Wait(work.done);
  EXPECT_NE(work.worker, std::thread::id());
}

TEST(ThreadTest, AThreadThatHasEndedIsWaitedForAsWell) {
  Work work;
  const OwnedHandle thread(StartThread(Work::Body, &work));
  RaiseEvent(work.go.get());
  Work::Wait(work.done);
  WaitForThread(thread.get());
}

TEST(ThreadTest, ANoHandleIsRefusedWithoutEffect) {
  WaitForThread(nullptr);
  WaitForThread(InvalidHandle());
}

}  // namespace
}  // namespace larder::platform
