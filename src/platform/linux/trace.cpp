#include "platform/trace.h"

#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <time.h>

#include <memory>
#include <new>
#include <string>
#include <utility>

#include "platform/linux/lttng-object.h"
#include "platform/linux/native.h"
#include "platform/linux/start-thread.h"
#include "platform/module.h"
#include "platform/thread.h"

// Only the object liblarder-lttng.so links LTTng. It is opened if it lies beside the library, and
// never closed: LTTng doesn't survive the removal of a tracepoint that a session uses.
//
// LTTng calls nobody when a session starts, changes or ends. It stores the state of the tracepoint
// in a word, and a thread looks at that word a few times a second. If the statements read it, the
// gate would be two words, for everybody. A function can be attached to a tracepoint, but to this
// one in vain, since nothing passes it while the gate is closed; and the one that LTTng itself
// passes when a session starts tells nothing of an event that is added later, nor of the end.

namespace larder::platform {
namespace {

constexpr std::uint64_t kRegistration = 1;
constexpr std::uint64_t kSession = 1;
// As ETW's limit of a message.
constexpr std::size_t kLongestText = std::size_t{64} * 1024;

// The system may add the slack, in order to wake the processor for several threads at once. What a
// look costs is paid by every idle process for as long as it runs: about 30 microseconds.
constexpr long kPollNanoseconds = 200'000'000;
constexpr unsigned long kSlackNanoseconds = 50'000'000;

// The object that lies beside the image that contains this code. Null if there is none, or none
// that can be used.
const LttngObject* OpenObject() {
  Dl_info image{};
  if (dladdr(reinterpret_cast<const void*>(&RegisterTrace), &image) == 0) return nullptr;
  const std::unique_ptr<char, decltype(&free)> real(realpath(image.dli_fname, nullptr), &free);
  if (real == nullptr) return nullptr;
  std::string path = real.get();
  path.replace(path.rfind('/') + 1, std::string::npos, kLttngObjectName);
  WideString wide;
  ModuleHandle module = nullptr;
  if (WidePath(path, wide) != kSuccess || OpenModule(wide, module) != kSuccess) return nullptr;
  const auto get = reinterpret_cast<GetLttngObject>(FindSymbol(module, kGetLttngObject));
  return get == nullptr ? nullptr : get();
}

timespec NextLook() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  time.tv_nsec += kPollNanoseconds;
  if (time.tv_nsec < 1'000'000'000) return time;
  return {time.tv_sec + 1, time.tv_nsec - 1'000'000'000};
}

// The one registration of the process. Statements use the object only.
class Registration {
 public:
  Code Begin(const LttngObject& opened, TraceControlFunction given, void* givenContext) noexcept {
    object = &opened;
    function = given;
    context = givenContext;
    isOn = false;
    followsForks = object->followsForks();
    if (!std::exchange(hasForkFunction, true)) CallInForkedChild(&ContinueInForkedChild);
    // Here and not only on the thread: a session that is on has the library's first lines.
    Look();
    return StartThread();
  }

  void End() noexcept {
    if (!std::exchange(hasThread, false)) return;
    sem_post(&mustEnd);
    pthread_join(thread, nullptr);
    sem_destroy(&mustEnd);
  }

  [[nodiscard]] const LttngObject& Object() const noexcept { return *object; }

 private:
  static void ContinueInForkedChild();

  void Look() noexcept { Report(object->isEnabled()); }

  // Tells the library, if that is news.
  void Report(bool isEnabled) noexcept {
    if (std::exchange(isOn, isEnabled) == isEnabled) return;
    std::uint32_t bufferSize = 0;
    function(isEnabled ? kTraceEnableEvents : kTraceDisableEvents, context, &bufferSize, nullptr);
  }

  // A thread of platform::StartThread would keep the image loaded. This one needn't: it ends when
  // the image's last reference is closed, before the image goes.
  Code StartThread() noexcept {
    sem_init(&mustEnd, 0, 0);
    const int error = StartWithSignalsBlocked(thread, &LookUntilEnd, this);
    if (error == 0) {
      hasThread = true;
      return kSuccess;
    }
    sem_destroy(&mustEnd);
    Report(false);
    return CodeFromErrno(error);
  }

  static void* LookUntilEnd(void* given) noexcept {
    auto& self = *static_cast<Registration*>(given);
    prctl(PR_SET_TIMERSLACK, kSlackNanoseconds);
    for (timespec next = NextLook(); sem_clockwait(&self.mustEnd, CLOCK_MONOTONIC, &next) != 0;
         next = NextLook())
      self.Look();
    return nullptr;
  }

  const LttngObject* object = nullptr;
  TraceControlFunction function = nullptr;
  void* context = nullptr;
  bool isOn = false;
  bool followsForks = false;
  bool hasForkFunction = false;
  bool hasThread = false;
  pthread_t thread{};
  sem_t mustEnd{};
};

constinit Registration TheRegistration;

// The thread is the parent's, and so are the session's buffers unless LTTng follows forks.
void Registration::ContinueInForkedChild() {
  Registration& self = TheRegistration;
  if (!std::exchange(self.hasThread, false)) return;
  self.Report(false);
  if (self.followsForks) self.StartThread();
}

}  // namespace

Code RegisterTrace(TraceControlFunction function, void* context, const Guid&,
                   std::uint64_t& registration) noexcept {
  const LttngObject* object = nullptr;
  try {
    object = OpenObject();
  } catch (const std::bad_alloc&) {
    return kNotEnoughMemory;
  }
  if (object == nullptr) return kNotSupported;
  const Code code = TheRegistration.Begin(*object, function, context);
  if (code == kSuccess) registration = kRegistration;
  return code;
}

Code UnregisterTrace(std::uint64_t registration) noexcept {
  if (registration != kRegistration) return kNotSupported;
  TheRegistration.End();
  return kSuccess;
}

// There is one session for the library, however many there are in LTTng: all that have enabled the
// tracepoint want all lines.
std::uint64_t TraceSession(void*) noexcept { return kSession; }

std::uint8_t TraceSessionLevel(std::uint64_t) noexcept { return 4; }

std::uint32_t TraceSessionFlags(std::uint64_t) noexcept { return 0x2; }

void EmitTrace(std::uint64_t, std::uint32_t, const Guid&, std::uint16_t, const char* text,
               std::size_t size) noexcept {
  const LttngObject& object = TheRegistration.Object();
  if (size <= kLongestText)
    object.recordLine(text);
  else
    object.recordDroppedLine(size);
}

}  // namespace larder::platform
