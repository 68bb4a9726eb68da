#include <gtest/gtest.h>
#include <signal.h>

#include "platform/thread.h"

namespace larder::platform {
namespace {

sigset_t MaskOfThisThread() {
  sigset_t mask;
  EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &mask), 0);
  return mask;
}

TEST(ThreadSignalTest, WhatIsSentIsBlockedAFaultIsNotAndTheMakersMaskStands) {
  sigset_t some;
  sigemptyset(&some);
  sigaddset(&some, SIGUSR2);
  sigset_t before;
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &some, &before), 0);
  sigset_t mask;
  const auto tellMask = [](void* told) { *static_cast<sigset_t*>(told) = MaskOfThisThread(); };
  Handle thread = nullptr;
  const Code started = StartThread(tellMask, &mask, thread);
  const sigset_t after = MaskOfThisThread();
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  ASSERT_EQ(started, kSuccess);
  WaitForThread(thread);
  CloseObject(thread);
  for (const int sent : {SIGHUP, SIGINT, SIGTERM, SIGQUIT, SIGUSR1, SIGALRM, SIGCHLD, SIGPIPE,
                         SIGPROF, SIGXFSZ, SIGRTMIN, SIGRTMAX})
    EXPECT_EQ(sigismember(&mask, sent), 1) << sent;
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL})
    EXPECT_EQ(sigismember(&mask, fault), 0) << fault;
  for (int number = 1; number < SIGRTMAX; ++number)
    EXPECT_EQ(sigismember(&after, number), sigismember(&some, number)) << number;
}

}  // namespace
}  // namespace larder::platform
