#include "platform/linux/lttng-object.h"

#include <dlfcn.h>
#include <lttng/urcu/urcu-ust.h>
#include <lttng/ust-fork.h>
#include <pthread.h>
#include <signal.h>

#define LTTNG_UST_COMPAT_API_VERSION 1
#define LTTNG_UST_TRACEPOINT_CREATE_PROBES
#define LTTNG_UST_TRACEPOINT_DEFINE
#define LTTNG_UST_TRACEPOINT_HIDDEN_DEFINITION
#define LTTNG_UST_TRACEPOINT_PROVIDER_HIDDEN_DEFINITION
#include "platform/linux/lttng-tracepoints.h"

namespace larder::platform {
namespace {

bool IsEnabled() noexcept { return lttng_ust_tracepoint_enabled(larder, line) != 0; }

void RecordLine(const char* line) noexcept { lttng_ust_tracepoint(larder, line, line); }

void RecordDroppedLine(std::size_t size) noexcept {
  lttng_ust_tracepoint(larder, dropped_line, size);
}

// liblttng-ust-fork.so, preloaded by the user, registers the child of a fork with LTTng.
bool FollowsForks() noexcept {
  void* const library = dlopen("liblttng-ust-fork.so.1", RTLD_NOW | RTLD_NOLOAD);
  if (library == nullptr) return static_cast<void>(dlerror()), false;
  dlclose(library);
  return true;
}

// Without that library the child isn't registered. But when it exits, LTTng takes its locks and
// waits until no thread passes a tracepoint. So no other thread may hold them during the fork, and
// the child forgets the parent's threads.

sigset_t SignalsBeforeFork;  // used by the thread that holds LTTng's locks

void BeforeFork() {
  sigset_t signals;
  lttng_ust_before_fork(&signals);
  SignalsBeforeFork = signals;
}

void AfterFork() {
  sigset_t signals = SignalsBeforeFork;
  lttng_ust_after_fork_parent(&signals);
}

void AfterForkInChild() {
  AfterFork();
  lttng_ust_urcu_before_fork();
  lttng_ust_urcu_after_fork_child();
}

__attribute__((constructor)) void HandleForks() {
  if (!FollowsForks()) pthread_atfork(&BeforeFork, &AfterFork, &AfterForkInChild);
}

constexpr LttngObject kObject = {&IsEnabled, &RecordLine, &RecordDroppedLine, &FollowsForks};

}  // namespace

extern "C" __attribute__((visibility("default"))) const LttngObject* LarderLttngObject1() noexcept {
  return &kObject;
}

}  // namespace larder::platform
