#include <atomic>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "platform/event.h"
#include "product/product.h"
#include "support/scoped-handles.h"
#include "tools/larder/cli/client.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/interrupt.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {
namespace {

constexpr const char* kEventLabel = "event \"InstallerEvent\"";

struct Arguments {
  std::optional<std::string> message;
  bool isReset = false;
  bool isWait = false;
  bool isOnce = false;
};

// verb: for messages, what change does.
int ChangeEvent(const std::string& verb, platform::Code (*change)(platform::Handle)) {
  AutoHandle event;
  if (platform::MakeNamedEvent(kInstallerEvent, event.Out()) != platform::kSuccess) {
    PrintError("cannot " + verb + " " + kEventLabel + ": this user can neither create nor open it");
    return kExitFailed;
  }
  return Succeeded(verb + " " + kEventLabel, change(event.Get())) ? kExitOk : kExitFailed;
}

// Sets the value first: clients that are woken by the event read it immediately.
int Announce(const WideString& message) {
  const ValueName value{kInstallKey, kMessageValue};
  const platform::Code code = SetValue(value, TextValue(platform::kRegSz, message));
  if (!Succeeded("set " + ValueLabel(value), code)) return kExitFailed;
  return ChangeEvent("raise", &platform::RaiseEvent);
}

// Passed from the library's thread to the main thread.
std::atomic<std::int32_t> ReceivedMessage;
std::atomic<platform::Handle> ReceivedEvent;

void KeepMessage(std::int32_t message) {
  ReceivedMessage = message;
  platform::RaiseEvent(ReceivedEvent);
}

bool PrintMessages(const Interrupt& interrupt, bool once, Output& output) {
  const platform::Handle events[] = {interrupt.Event(), ReceivedEvent};
  while (!output.Failed()) {
    std::size_t index = 0;
    const platform::Code code = platform::WaitForAny(events, std::size(events), index);
    if (!Succeeded("wait for a notification", code)) return false;
    if (index == 0) return true;
    platform::LowerEvent(ReceivedEvent);
    output.Write(ReceivedMessage == 0 ? "upgrade\n" : "uninstall\n");
    output.Flush();
    if (once) return true;
  }
  return false;
}

int WaitAsClient(bool once, Output& output) {
  const Interrupt interrupt;
  AutoHandle received;
  platform::MakeEvent(received.Out());
  ReceivedEvent = received.Get();
  LarderHandle handle = nullptr;
  if (!StartLibrary(&KeepMessage, handle)) return kExitFailed;
  output.Write("waiting\n");
  output.Flush();
  const bool succeeded = PrintMessages(interrupt, once, output);
  return EndLibrary() && succeeded ? kExitOk : kExitFailed;
}

void CheckChoice(const Arguments& arguments) {
  const int chosen =
      (arguments.message ? 1 : 0) + (arguments.isReset ? 1 : 0) + (arguments.isWait ? 1 : 0);
  if (chosen != 1) throw UsageError("notify", "give one of MESSAGE, --reset and --wait");
  if (arguments.isOnce && !arguments.isWait) throw UsageError("--once", "goes with --wait only");
}

Action ChosenAction(const Arguments& arguments) {
  CheckChoice(arguments);
  if (arguments.isReset) return [](Output&) { return ChangeEvent("lower", &platform::LowerEvent); };
  if (arguments.isWait) {
    return [once = arguments.isOnce](Output& output) { return WaitAsClient(once, output); };
  }
  return [message = WideArgument("MESSAGE", *arguments.message)](Output&) {
    return Announce(message);
  };
}

}  // namespace

void AddNotifyCommand(const Command& top) {
  const auto arguments = std::make_shared<Arguments>();
  const Command notify =
      top.AddCommand("notify", "Give the installer's signal, or wait for it as a client");
  notify.AddDetails(
      "Give one of MESSAGE, --reset and --wait. MESSAGE is written to the registry;\n"
      "then the event is raised, and stays so until somebody lowers it.");
  notify.AddOptional("MESSAGE", arguments->message,
                     "Text to announce; clients know \"upgrade\" and \"uninstall\"");
  notify.AddFlag("--reset", arguments->isReset, "Lower the event again");
  notify.AddFlag("--wait", arguments->isWait,
                 "Print what a client is notified of, until interrupted");
  notify.AddFlag("--once", arguments->isOnce, "With --wait: end after the first notification");
  notify.OnChosen([arguments] { return ChosenAction(*arguments); });
}

}  // namespace larder::tool
