#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/wide.h"
#include "support/registry.h"
#include "tools/larder/cli/client.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/query/record-text.h"
#include "tools/larder/status/machine-status.h"

namespace larder::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint64_t kMaxSeconds = 3600;

struct Arguments {
  bool isJson = false;
  std::string seconds = "10";
};

std::string Utf8(const WideString& text) { return platform::Utf8FromWide(text); }

std::string Line(const std::string& label, const std::string& value) {
  return RecordLine(label, Printable(value));
}

std::string LineIfAny(const std::string& label, const std::string& value) {
  return value.empty() ? std::string() : Line(label, value);
}

// The status as text.

std::string ValueText(const StatusValue& value) {
  return value.fault.empty() ? Utf8(value.text) : "none: " + value.fault;
}

std::string ProviderText(const ProviderStatus& provider) {
  std::string text = "\n" + Line("provider", Utf8(provider.key));
  text += Line("  module", ValueText(provider.dll));
  if (!provider.dll.fault.empty()) return text + Line("  loads", "the library skips it");
  text += Line("  path", PathText(provider.path)) + Line("  file", provider.place);
  const ProbeResult& probe = provider.probe;
  text += Line("  loads", probe.fault.empty() ? "yes" : "no: " + probe.fault);
  if (probe.type) text += Line("  type", std::to_string(*probe.type));
  for (const std::string& name : probe.missing) text += Line("  missing", name);
  if (!probe.endFault.empty()) text += Line("  ends", "badly: " + probe.endFault);
  return text;
}

std::string LogText(const LogStatus& log) {
  std::string state = log.isOn ? "on" : "off";
  if (!log.isOn && log.value.fault.empty()) {
    state += ": szEnable is \"" + Utf8(log.value.text) + "\", not \"true\"";
  }
  std::string files = std::to_string(log.files) + (log.files == 1 ? " file, " : " files, ") +
                      std::to_string(log.bytes) + " bytes";
  if (!log.hasFolder) files = "none: the folder isn't there";
  return "\n" + Line("log", state) + Line("  folder", PathText(log.folder)) +
         Line("  files", files) + LineIfAny("  note", log.note) + LineIfAny("  fault", log.fault);
}

std::string TraceText(const TraceObject& trace) {
  if (trace.path.empty()) return {};
  const char* state = "none: the object isn't there; the package larder-lttng has it";
  if (trace.isThere) state = trace.fault.empty() ? "ready" : "none";
  return "\n" + Line("trace", state) + Line("  object", PathText(trace.path)) +
         LineIfAny("  fault", trace.fault);
}

std::string StoreText(const StoreStatus& store) {
  if (!store.isThere) return {};
  return "\n" + Line("store", store.state) + Line("  folder", PathText(store.folder)) +
         LineIfAny("  note", store.note) + LineIfAny("  fault", store.fault);
}

std::string EventText(const EventStatus& event) {
  return "\n" + Line("event", event.isRaised ? "raised" : "not raised") +
         LineIfAny("  fault", event.fault);
}

std::string VerdictText(const Verdict& verdict) {
  std::string text = "LarderInit doesn't return";
  if (verdict.result) text = "LarderInit will return " + ResultReason(*verdict.result);
  if (verdict.IsGood()) return text;
  text += verdict.result == 0 ? ", but the last LarderRelease doesn't return" : "";
  return text + " because of " + verdict.culprit + ": " + verdict.reason;
}

std::string Text(const MachineStatus& status) {
  std::string text =
      Line("registry", "HKEY_LOCAL_MACHINE\\" + Utf8(WideString(LarderRegistryRoot)));
  text += LineIfAny("  fault", status.rootFault);
  text += Line("location", ValueText(status.location));
  text += LineIfAny("  fault", status.locationFault);
  if (status.isOpenToAll) text += Line("everyone", "may load the providers");
  if (!status.providersFault.empty())
    text += "\n" + Line("providers", "none: " + status.providersFault);
  for (const ProviderStatus& provider : status.providers) text += ProviderText(provider);
  text += LogText(status.log) + TraceText(status.trace) + StoreText(status.store) +
          EventText(status.event);
  return text + "\n" + Printable(VerdictText(status.verdict)) + "\n";
}

// The status as JSON.

Json OrNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

Json ValueJson(const StatusValue& value) {
  return {{"text", OrNull(Utf8(value.text))}, {"fault", OrNull(value.fault)}};
}

Json ProviderJson(const ProviderStatus& provider) {
  const ProbeResult& probe = provider.probe;
  const bool isTried = provider.dll.fault.empty();
  return {{"key", Utf8(provider.key)},
          {"module", ValueJson(provider.dll)},
          {"path", OrNull(PathText(provider.path))},
          {"exists", provider.isThere},
          {"loads", isTried && probe.fault.empty()},
          {"type", probe.type ? Json(*probe.type) : Json()},
          {"missing", probe.missing},
          {"fault", OrNull(probe.fault)},
          {"endFault", OrNull(probe.endFault)}};
}

Json TraceJson(const TraceObject& trace) {
  if (trace.path.empty()) return {};
  return {
      {"object", PathText(trace.path)}, {"exists", trace.isThere}, {"fault", OrNull(trace.fault)}};
}

Json StoreJson(const StoreStatus& store) {
  if (!store.isThere) return {};
  return {{"folder", PathText(store.folder)},
          {"state", store.state},
          {"note", OrNull(store.note)},
          {"fault", OrNull(store.fault)}};
}

Json ToJson(const MachineStatus& status) {
  Json providers = Json::array();
  for (const ProviderStatus& provider : status.providers) {
    providers.push_back(ProviderJson(provider));
  }
  const Verdict& verdict = status.verdict;
  const std::string error = verdict.result ? ResultReason(*verdict.result) : std::string();
  return {{"rootFault", OrNull(status.rootFault)},
          {"location", ValueJson(status.location)},
          {"locationFault", OrNull(status.locationFault)},
          {"everyone", status.isOpenToAll},
          {"providersFault", OrNull(status.providersFault)},
          {"providers", std::move(providers)},
          {"log",
           {{"on", status.log.isOn},
            {"folder", PathText(status.log.folder)},
            {"files", status.log.files},
            {"bytes", status.log.bytes},
            {"note", OrNull(status.log.note)},
            {"fault", OrNull(status.log.fault)}}},
          {"trace", TraceJson(status.trace)},
          {"store", StoreJson(status.store)},
          {"event", {{"raised", status.event.isRaised}, {"fault", OrNull(status.event.fault)}}},
          {"init",
           {{"result", verdict.result ? Json(*verdict.result) : Json()},
            {"text", OrNull(error)},
            {"culprit", OrNull(verdict.culprit)},
            {"reason", OrNull(verdict.reason)}}}};
}

int RunStatus(bool isJson, std::chrono::milliseconds limit, Output& output) {
  const MachineStatus status = FindMachineStatus(limit);
  if (isJson) {
    output.Write(ToJson(status).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
  } else {
    output.Write(Text(status));
  }
  return status.IsGood() ? kExitOk : kExitFailed;
}

}  // namespace

void AddStatusCommand(const Command& top) {
  const auto arguments = std::make_shared<Arguments>();
  const Command status = top.AddCommand(
      "status", "Print what the library finds here, and what LarderInit will return and why");
  status.AddDetails(
      "Each module is loaded in a process of its own, so that one that crashes is\n"
      "named. Exit status 0 means that LarderInit will succeed, and that programs of\n"
      "this user can use the log and the store.");
  status.AddFlag("--json", arguments->isJson, "Print one JSON object instead");
  status.AddOption("--timeout", "SECONDS", arguments->seconds,
                   "Seconds that a module may take to load (default 10)");
  status.OnChosen([arguments] {
    const std::chrono::seconds limit(
        NumberArgument("--timeout", arguments->seconds, 1, kMaxSeconds));
    return
        [arguments, limit](Output& output) { return RunStatus(arguments->isJson, limit, output); };
  });
}

}  // namespace larder::tool
