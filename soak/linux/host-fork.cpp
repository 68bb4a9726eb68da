// Children of a process that uses the library.
#include "soak/host-rounds.h"

#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "soak/host-machine.h"
#include "soak/run.h"

namespace larder::soak {
namespace {

constexpr unsigned kChildSeconds = 120;

// In the child of a process that had a handle; returns the exit status.
int UseFromChild(HostProcess& host, LarderHandle handle) {
  const SoakObject object;
  const SoakBlock block{.header = {sizeof block, 0}, .object = object};
  DataBlockHeader* data = nullptr;
  if (host.Functions().query(handle, &object, 0, 0, &data, LARDER_QUERY_VERSION) !=
      LARDER_E_INVALID_HANDLE)
    return 10;
  if (host.Functions().write(handle, &object, 0, &block.header) != LARDER_E_INVALID_HANDLE)
    return 11;
  if (host.Functions().release() != LARDER_E_INVALID_HANDLE) return 12;
  LarderHandle own = nullptr;
  if (host.Functions().init([](std::int32_t) {}, &own) != LARDER_E_DB_OPEN_FAILED) return 13;
  return 0;
}

// In the child of a process without a handle.
int LiveInChild(HostProcess& host) {
  LarderHandle own = nullptr;
  if (host.Functions().init([](std::int32_t) {}, &own) != LARDER_OK) return 20;
  return host.Functions().release() == LARDER_OK ? 0 : 21;
}

// Runs the function in a child. A child that hangs is ended by its alarm.
template <typename Function>
void InChild(HostProcess& host, const Function& function) {
  const pid_t id = ::fork();
  if (id == 0) {
    ::alarm(kChildSeconds);
    ::_exit(function());
  }
  int status = 0;
  if (id < 0 || ::waitpid(id, &status, 0) != id) throw Fault("fork failed");
  if (status != 0) throw Fault("a forked child ended with wait status " + std::to_string(status));
  ++host.state.forks;
}

}  // namespace

// A fork while another thread is being started leaves a lock of the address sanitizer held.
void Fork(HostProcess& host, Random& random) {
  if (LARDER_SOAK_SANITIZED) return;
  SwitchLog(random() % 2 == 0);
  host.Load();
  if (random() % 2 == 0) InChild(host, [&] { return LiveInChild(host); });
  const LarderHandle handle = host.Init();
  std::thread others(
      [&, own = Random(random())]() mutable { host.CallFromThreads(handle, 4, 100, own); });
  for (auto i = random() % 8; i > 0; --i) InChild(host, [&] { return UseFromChild(host, handle); });
  others.join();
  host.Release();
  if (random() % 2 == 0) InChild(host, [&] { return LiveInChild(host); });
  host.Unload();
  host.MustBeUnmapped();
}

}  // namespace larder::soak
