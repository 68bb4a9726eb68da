#include "soak/host-rounds.h"

#include <chrono>
#include <iterator>
#include <string>
#include <thread>

#include "soak/host-log.h"
#include "soak/host-machine.h"
#include "soak/host-system.h"
#include "soak/run.h"

namespace larder::soak {
namespace {

using std::chrono::milliseconds;

constexpr int kMaxLoggedCalls = 200;  // of one handle, so that all generations of the log have them

int Between(int least, int most, Random& random) {
  return least + static_cast<int>(random() % static_cast<std::uint64_t>(most - least + 1));
}

bool OneIn(int count, Random& random) { return random() % static_cast<std::uint64_t>(count) == 0; }

// With the log on or off. At the end it checks what must be in the log.
class LoggedLife {
 public:
  LoggedLife(HostProcess& itsHost, bool on) : host(itsHost), isOn(on) {
    SwitchLog(on);
    host.Begin();
  }

  void End(Expect expect = Expect::kAllSafe) {
    if (!isOn) return;
    host.AllSafe();
    CheckLog(LogsFolder(host.folder), host.life, expect, host.state);
    DeleteLogs(host.folder);
  }

 private:
  HostProcess& host;
  bool isOn;
};

void FailOneModule(Random& random) {
  const std::string fault = kLoadFaults[random() % std::size(kLoadFaults)];
  SetVariable(kLoadFaultVariable, (std::to_string(random() % 6) + ' ' + fault).c_str());
}

void FailNoModule() { SetVariable(kLoadFaultVariable, ""); }

void AwaitSignal(int heardBefore) {
  for (int i = 0; signalsHeard == heardBefore; ++i) {
    if (i == 120'000) throw Fault("a signal wasn't heard for two minutes");
    std::this_thread::sleep_for(milliseconds(1));
  }
}

// Raises and lowers the signal at random and leaves it raised.
void Signal(InstallerSignal& signal, HostProcess& host, Random& random) {
  for (int i = Between(0, 5, random); i >= 0; --i) {
    signal.Raise();
    ++host.state.raised;
    if (i == 0) return;
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 500));
    signal.Lower();
  }
}

// The library is unloaded while a handle exists, and then loaded again.
void UnloadWithHandle(HostProcess& host, Random& random) {
  host.Init();
  host.Unload();
  if (OneIn(2, random)) {
    InstallerSignal signal;
    Signal(signal, host, random);
  }
  host.Load();
  host.CallFromThreads(host.Init(), 1, 3, random);
  host.Release();
  host.Release();
}

}  // namespace

void Cycle(HostProcess& host, Random& random) {
  LoggedLife life(host, OneIn(2, random));
  host.Load();
  const int cycles = Between(5, 30, random);
  InThreads(Between(1, kMaxThreads, random), random, [&](int thread, Random& own) {
    for (int i = 0; i < cycles; ++i) {
      const LarderHandle handle = host.Init();
      if (OneIn(2, own)) host.Call(handle, thread, own);
      host.Release();
    }
  });
  host.MustHaveNoHandle();
  life.End();
  host.Unload();
  host.MustBeUnmapped();
}

void LoadAndUnload(HostProcess& host, Random& random) {
  LoggedLife life(host, OneIn(2, random));
  for (int i = Between(3, 10, random); i > 0; --i) {
    host.Load();
    if (OneIn(4, random)) {
      UnloadWithHandle(host, random);
    } else if (!OneIn(4, random)) {
      host.CallFromThreads(host.Init(), Between(1, 3, random), 5, random);
      host.Release();
    }
    host.Unload();
    host.MustBeUnmapped();
  }
  life.End();
}

void MeetSignals(HostProcess& host, Random& random) {
  LoggedLife life(host, OneIn(2, random));
  host.Load();
  for (int i = Between(1, 4, random); i > 0; --i) {
    InstallerSignal signal;
    const int before = signalsHeard;
    const LarderHandle handle = host.Init();
    std::thread installer([&, own = Random(random())]() mutable { Signal(signal, host, own); });
    host.CallFromThreads(handle, kMaxThreads, Between(1, 30, random), random);
    installer.join();
    if (OneIn(2, random)) AwaitSignal(before);
    host.Release();
    if (signalsHeard > before + 1) throw Fault("one handle called back more than once");
    host.state.heard += static_cast<std::uint64_t>(signalsHeard - before);
  }
  life.End();
  host.Unload();
  host.MustBeUnmapped();
}

void FailToLoad(HostProcess& host, Random& random) {
  SwitchLog(false);
  host.Begin();
  for (int i = Between(1, 6, random); i > 0; --i) {
    host.Load();
    FailOneModule(random);
    host.MustFailToInit();
    FailNoModule();
    if (OneIn(2, random)) {
      host.CallFromThreads(host.Init(), Between(1, kMaxThreads, random), 10, random);
      host.Release();
    }
    host.MustHaveNoHandle();
    host.Unload();
    host.MustBeUnmapped();
  }
}

void UseProduct(HostProcess& host, Random& random) {
  UseProviders(Providers::kProduct);
  SwitchLog(OneIn(2, random));
  host.Load();
  const int cycles = Between(1, 4, random);
  InThreads(Between(1, kMaxThreads, random), random, [&](int, Random&) {
    for (int i = 0; i < cycles; ++i) {
      host.QueryFile(host.Init());
      host.Release();
    }
  });
  host.Unload();
  host.MustBeUnmapped();
  UseProviders(Providers::kSoak);
  DeleteLogs(host.folder);
}

void WriteMuch(HostProcess& host, Random& random) {
  LoggedLife life(host, true);
  host.Load();
  const LarderHandle handle = host.Init();
  std::atomic<bool> isOver = false;
  std::thread reader([&, own = Random(random())]() mutable {
    while (!isOver) HoldLogs(LogsFolder(host.folder), milliseconds(own() % 20));
  });
  host.CallFromThreads(handle, kMaxThreads, Between(10, 70, random), random);
  host.Release();
  isOver = true;
  reader.join();
  life.End(HoldingPreventsRenaming() ? Expect::kNewest : Expect::kAllGenerations);
  host.Unload();
  host.MustBeUnmapped();
}

void FailWithLog(HostProcess& host, Random& random) {
  SwitchLog(true);
  host.Load();
  FailOneModule(random);
  for (int i = Between(1, 3, random); i > 0; --i) host.MustFailToInit();
  FailNoModule();
  if (OneIn(2, random)) host.Unload();
  if (OneIn(2, random)) {
    if (!host.IsLoaded()) host.Load();
    host.CallFromThreads(host.Init(), Between(1, kMaxThreads, random), 10, random);
    host.Release();
  }
  InstallerSignal signal;
  Signal(signal, host, random);
  if (OneIn(2, random)) host.Unload();
  std::this_thread::sleep_for(milliseconds(random() % 20));
}

// The folder becomes unusable before the handle exists, or while it does.
void UseBadFolder(HostProcess& host, Random& random) {
  const std::filesystem::path logs = LogsFolder(host.folder);
  LoggedLife life(host, true);
  const int threads = Between(1, kMaxThreads, random);
  if (OneIn(2, random)) {
    const BadFolder bad(logs, random());
    host.CallFromThreads(host.Init(), threads, 20, random);
    host.Release();
  } else {
    const LarderHandle handle = host.Init();
    host.CallFromThreads(handle, threads, 5, random);
    {
      const BadFolder bad(logs, random());
      host.CallFromThreads(handle, threads, 20, random);
    }
    host.CallFromThreads(handle, threads, 5, random);
    host.Release();
  }
  life.End(Expect::kAnything);
}

void LoseFolder(HostProcess& host, Random& random) {
  PrepareBadFolder(LogsFolder(host.folder));
  host.Load();
  for (int i = Between(1, 4, random); i > 0; --i) {
    UseBadFolder(host, random);
    LoggedLife life(host, true);
    host.CallFromThreads(host.Init(), Between(1, kMaxThreads, random), 10, random);
    host.Release();
    life.End();
  }
  host.Unload();
  host.MustBeUnmapped();
}

// Several handles, each of a life of its own, so that the numbers that had to be written up to the
// last release are known at any time.
void LiveUntilKilled(HostProcess& host, Random& random) {
  for (;;) {
    host.Load();
    for (int i = Between(1, 5, random); i > 0; --i) {
      const int threads = Between(1, kMaxThreads, random);
      host.CallFromThreads(host.Init(), threads, Between(1, kMaxLoggedCalls / threads, random),
                           random);
      host.Release();
      host.AllSafe();
    }
    if (OneIn(4, random)) UnloadWithHandle(host, random);
    host.AllSafe();
    host.Unload();
  }
}

}  // namespace larder::soak
