#include "platform/thread.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/owned-event.h"

namespace larder::platform {
namespace {

// Two events, and what a thread does with them.
struct Work {
  OwnedEvent go{NewEvent()};
  OwnedEvent done{NewEvent()};
  std::thread::id worker;

  static void Body(void* argument) {
    auto* work = static_cast<Work*>(argument);
    Wait({work->go});
    work->worker = std::this_thread::get_id();
    RaiseEvent(work->done);
  }
};

TEST(ThreadTest, TheBodyRunsOnAThreadOfItsOwnAndTheWaitEndsAfterIt) {
  Work work;
  Handle thread = nullptr;
  ASSERT_EQ(StartThread(Work::Body, &work, thread), kSuccess);
  RaiseEvent(work.go);
  WaitForThread(thread);
  EXPECT_NE(work.worker, std::thread::id());
  EXPECT_NE(work.worker, std::this_thread::get_id());
  WaitForThread(thread);
  CloseObject(thread);
  WaitForThread(nullptr);
  WaitForThread(InvalidHandle());
}

TEST(ThreadTest, ClosingTheHandleDoesNotEndTheThread) {
  Work work;
  Handle thread = nullptr;
  ASSERT_EQ(StartThread(Work::Body, &work, thread), kSuccess);
  CloseObject(thread);
  RaiseEvent(work.go);
  Wait({work.done});
  EXPECT_NE(work.worker, std::thread::id());
}

}  // namespace
}  // namespace larder::platform
