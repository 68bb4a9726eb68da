#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "platform/thread.h"

namespace larder::platform {
namespace {

sigset_t MaskOfThisThread() {
  sigset_t mask;
  EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &mask), 0);
  return mask;
}

void TellMask(void* mask) { *static_cast<sigset_t*>(mask) = MaskOfThisThread(); }

void RunToItsEnd(void (*body)(void* argument), void* argument) {
  const Handle thread = StartThread(body, argument);
  ASSERT_NE(thread, nullptr);
  WaitForThread(thread);
  CloseObject(thread);
}

TEST(ThreadSignalTest, WhatIsSentToTheProgramIsBlockedAndAFaultIsNot) {
  sigset_t mask;
  sigemptyset(&mask);
  RunToItsEnd(TellMask, &mask);
  for (const int sent : {SIGHUP, SIGINT, SIGTERM, SIGQUIT, SIGUSR1, SIGALRM, SIGCHLD, SIGPIPE,
                         SIGPROF, SIGXFSZ, SIGRTMIN, SIGRTMAX})
    EXPECT_EQ(sigismember(&mask, sent), 1) << sent;
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL})
    EXPECT_EQ(sigismember(&mask, fault), 0) << fault;
}

TEST(ThreadSignalTest, TheMakersMaskStandsAsItWas) {
  sigset_t some;
  sigemptyset(&some);
  sigaddset(&some, SIGUSR2);
  sigset_t before;
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &some, &before), 0);
  sigset_t mask;
  RunToItsEnd(TellMask, &mask);
  const sigset_t after = MaskOfThisThread();
  for (int number = 1; number < SIGRTMAX; ++number) {
    EXPECT_EQ(sigismember(&after, number), sigismember(&some, number)) << number;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

volatile sig_atomic_t heard = 0;

TEST(ThreadSignalTest, TheProgramsHandlerIsNotCalledOnTheThread) {
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) { heard = 1; };
  ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
  sigset_t some;
  sigemptyset(&some);
  sigaddset(&some, SIGUSR1);
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &some, nullptr), 0);
  // While no other thread takes it, one that could would get it at once.
  const auto sendToProcess = [](void* wasHeard) {
    kill(getpid(), SIGUSR1);
    *static_cast<int*>(wasHeard) = heard;
  };
  int wasHeard = -1;
  RunToItsEnd(sendToProcess, &wasHeard);
  EXPECT_EQ(wasHeard, 0);
  EXPECT_EQ(heard, 0);
  ASSERT_EQ(pthread_sigmask(SIG_UNBLOCK, &some, nullptr), 0);
  EXPECT_EQ(heard, 1);
  sigaction(SIGUSR1, &before, nullptr);
}

}  // namespace
}  // namespace larder::platform
