#include "tools/larder/status/provider-probe.h"

#include <larder/provider.h>

#include <exception>
#include <memory>

#include "platform/message.h"
#include "platform/module.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "product/product.h"
#include "product/stored-records.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/status/child-report.h"
#include "tools/larder/status/module-file.h"
#include "tools/larder/status/thrown.h"

namespace larder::tool {
namespace {

using Json = nlohmann::json;

constexpr const char* kCommand = "probe-provider";

// The keys of the child's report. An object that names a step is written before the step begins.
constexpr const char* kStep = "step";
constexpr const char* kFault = "fault";
constexpr const char* kMissing = "missing";
constexpr const char* kType = "type";
constexpr const char* kStoreFault = "storeFault";
constexpr const char* kIsFatal = "fatal";  // the fault would end the host

// Steps, as the end of the sentence "it crashes while ...".
constexpr const char* kLoading = "it is being loaded";
constexpr const char* kGettingProvider = "its GetProvider runs";
constexpr const char* kGettingType = "its GetType runs";
constexpr const char* kReadingStore = "its store is read";
constexpr const char* kDestroying = "its provider is destroyed";
constexpr const char* kUnloading = "it is being unloaded";
constexpr const char* kDone = "";

// The child process: it runs RunProbe and writes the report.

class ProbeReport : public ReportWriter {
 public:
  using ReportWriter::ReportWriter;

  void BeginStep(const char* step) { Write({{kStep, step}}); }
};

struct ProbeArguments {
  std::string key;  // of the report's lines
  std::string path;
  std::string exportName = kProviderExport;
  bool isLoadedOnly = false;
};

void ProbeStore(platform::ModuleHandle module, ProbeReport& report) {
  const auto visit = reinterpret_cast<VisitStoredRecordsFunction>(
      platform::FindSymbol(module, kStoredRecordsExport));
  if (visit == nullptr) return;
  report.BeginStep(kReadingStore);
  std::string fault;
  try {
    visit([](auto&&...) { return false; });
  } catch (const std::exception& error) {
    fault = error.what();
  }
  report.Write({{kStoreFault, fault.substr(0, kMaxExceptionText)}});
}

void CallProvider(platform::ModuleHandle module, platform::Symbol symbol, ProbeReport& report) {
  IDataProvider* provider = nullptr;
  report.BeginStep(kGettingProvider);
  std::string fault =
      CatchFrom([&] { reinterpret_cast<GetProviderFunction>(symbol)(&provider); }).text;
  if (!fault.empty()) return report.Write({{kFault, "in GetProvider, " + fault}});
  if (provider == nullptr) {
    // The library would call GetType on it.
    return report.Write(
        {{kFault, "its GetProvider returns no provider: the host crashes"}, {kIsFatal, true}});
  }
  report.BeginStep(kGettingType);
  fault = CatchFrom([&] { report.Write({{kType, provider->GetType()}}); }).text;
  if (!fault.empty()) return report.Write({{kFault, "in GetType, " + fault}});
  ProbeStore(module, report);
  report.BeginStep(kDestroying);
  delete provider;
}

void ProbeLoaded(platform::ModuleHandle module, const ProbeArguments& arguments,
                 ProbeReport& report) {
  const platform::Symbol symbol = platform::FindSymbol(module, arguments.exportName.c_str());
  if (symbol == nullptr) {
    report.Write({{kFault, "it doesn't export " + arguments.exportName}});
  } else if (!arguments.isLoadedOnly) {
    CallProvider(module, symbol, report);
  }
}

int RunProbe(const ProbeArguments& arguments) {
  ProbeReport report(arguments.key);
  WideString path;
  if (!platform::WideFromUtf8(arguments.path, path)) return kExitUsage;
  report.BeginStep(kLoading);
  platform::OwnedModule module;
  const platform::Code code = platform::OpenModule(path, module.Out());
  if (code != platform::kSuccess) {
    std::vector<std::string> missing;
    const std::string fault = DescribeLoadFault(path, code, missing);
    report.Write({{kFault, fault}, {kMissing, missing}});
  } else {
    ProbeLoaded(module.Get(), arguments, report);
    report.BeginStep(kUnloading);
    module = platform::OwnedModule();
  }
  report.BeginStep(kDone);
  return kExitOk;
}

// The parent process: it starts the child and reads the report.

struct ChildReport {
  std::string step = kLoading;  // the last one that was begun
  Json facts = Json::object();
};

ChildReport Summarize(const std::vector<Json>& objects) {
  ChildReport report;
  for (const Json& object : objects) {
    if (object.contains(kStep)) {
      report.step = object[kStep].get<std::string>();
    } else {
      report.facts.update(object);
    }
  }
  return report;
}

ProbeResult Conclude(const ReportingChild& child, std::chrono::milliseconds limit) {
  const ChildReport report = Summarize(child.report);
  ProbeResult result;
  if (report.facts.contains(kType)) result.type = report.facts[kType].get<std::int32_t>();
  result.missing = report.facts.value(kMissing, std::vector<std::string>());
  result.fault = report.facts.value(kFault, std::string());
  result.isFatal = report.facts.value(kIsFatal, false);
  if (report.facts.contains(kStoreFault)) {
    result.storeFault = report.facts[kStoreFault].get<std::string>();
  }
  if (report.step == kDone) return result;
  const std::string what = DescribeEnd(child.result, limit) + " while " + report.step;
  if (result.type) {
    result.endFault = what;
  } else if (result.fault.empty()) {
    result.fault = what;
    result.isFatal = true;
  }
  return result;
}

ProbeResult Probe(const WideString& module, const std::vector<std::string>& options,
                  std::chrono::milliseconds limit) {
  ReportingChild child;
  const platform::Code code = RunReportingChild(kCommand, options, module, limit, child);
  if (code == platform::kSuccess) return Conclude(child, limit);
  ProbeResult result;
  result.fault = "it can't be tried: " + platform::SystemReason(code);
  return result;
}

}  // namespace

ProbeResult ProbeProvider(const WideString& module, std::chrono::milliseconds limit) {
  return Probe(module, {}, limit);
}

std::string FindLoadFault(const WideString& module, const std::string& exportName,
                          std::chrono::milliseconds limit) {
  return Probe(module, {"--load-only", "--export", exportName}, limit).fault;
}

void AddProbeCommand(const Command& top) {
  const auto arguments = std::make_shared<ProbeArguments>();
  const Command probe = top.AddHiddenCommand(kCommand, "Load a provider module");
  probe.AddRequired("KEY", arguments->key, "");
  probe.AddRequired("MODULE", arguments->path, "");
  probe.AddOption("--export", "NAME", arguments->exportName, "");
  probe.AddFlag("--load-only", arguments->isLoadedOnly, "");
  probe.OnChosen([arguments] { return [arguments](Output&) { return RunProbe(*arguments); }; });
}

}  // namespace larder::tool
