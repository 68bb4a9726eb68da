#include "tools/larder/status/provider-probe.h"

#include <larder/provider.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <stdexcept>

#include "platform/message.h"
#include "platform/module.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "product/stored-records.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/status/child.h"
#include "tools/larder/status/module-file.h"

namespace larder::tool {
namespace {

using Json = nlohmann::json;

constexpr const char* kCommand = "probe-provider";
constexpr const char* kProviderExport = "GetProvider";

// The child's report: lines with a key that the parent chose, and a JSON object. A line that names
// a step is written before the step begins. The child has taken its standard output for the report,
// so that what a module prints is discarded. The key is in case a module writes to every handle.
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

constexpr std::size_t kMaxExceptionText = 4096;  // a report must fit into what the parent reads

// The child process: it runs RunProbe and writes the report.

struct ProbeArguments {
  std::string key;  // of the report's lines
  std::string path;
  std::string exportName = kProviderExport;
  bool isLoadedOnly = false;
};

class Report {
 public:
  explicit Report(std::string newKey) : key(std::move(newKey)), file(TakeStandardOutput()) {
    if (!file) throw std::runtime_error("cannot take standard output");
  }

  void BeginStep(const char* step) { Write({{kStep, step}}); }
  void Write(const Json& object) {
    const std::string line =
        "\n" + key + object.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n";
    std::fwrite(line.data(), 1, line.size(), file.get());
    std::fflush(file.get());
  }

 private:
  struct Close {
    void operator()(std::FILE* closed) const noexcept { std::fclose(closed); }
  };

  const std::string key;
  const std::unique_ptr<std::FILE, Close> file;
};

std::string Quoted(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "\"" : ", \"") + name + "\"";
  return text;
}

// The system's code is the same for a missing module and for one whose dependency is missing.
Json LoadFault(const WideString& path, platform::Code code) {
  if (!IsThere(path)) return {{kFault, "the file isn't there: " + platform::SystemReason(code)}};
  const std::string form = DescribeForeignModule(path);
  if (!form.empty())
    return {{kFault, "it can't be loaded: " + form + ": " + platform::SystemReason(code)}};
  std::vector<std::string> missing;
  const platform::Code searched = FindMissingDependencies(path, missing);
  if (searched != platform::kSuccess || missing.empty()) {
    return {{kFault, "the file is there but can't be loaded: " + platform::SystemReason(code)}};
  }
  return {{kFault, "the file is there, but what it needs isn't: " + Quoted(missing) +
                       (missing.size() == 1 ? " isn't found" : " aren't found")},
          {kMissing, missing}};
}

// The text of an exception thrown by a module; it must be read before the module is unloaded.
template <typename Call>
std::string FailureOf(Call call) {
  try {
    call();
    return {};
  } catch (const std::exception& error) {
    return "it throws an exception: " + std::string(error.what()).substr(0, kMaxExceptionText);
  } catch (...) {
    return "it throws something that isn't a std::exception";
  }
}

void ProbeStore(platform::ModuleHandle module, Report& report) {
  const auto visit = reinterpret_cast<VisitStoredRecordsFunction>(
      platform::FindSymbol(module, "VisitStoredRecords"));
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

void CallProvider(platform::ModuleHandle module, platform::Symbol symbol, Report& report) {
  IDataProvider* provider = nullptr;
  report.BeginStep(kGettingProvider);
  std::string fault = FailureOf([&] { reinterpret_cast<GetProviderFunction>(symbol)(&provider); });
  if (!fault.empty()) return report.Write({{kFault, "in GetProvider, " + fault}});
  if (provider == nullptr) {
    // The library would call GetType on it.
    return report.Write(
        {{kFault, "its GetProvider returns no provider: the host crashes"}, {kIsFatal, true}});
  }
  report.BeginStep(kGettingType);
  fault = FailureOf([&] { report.Write({{kType, provider->GetType()}}); });
  if (!fault.empty()) return report.Write({{kFault, "in GetType, " + fault}});
  ProbeStore(module, report);
  report.BeginStep(kDestroying);
  delete provider;
}

void ProbeLoaded(platform::ModuleHandle module, const ProbeArguments& arguments, Report& report) {
  const platform::Symbol symbol = platform::FindSymbol(module, arguments.exportName.c_str());
  if (symbol == nullptr) {
    report.Write({{kFault, "it doesn't export " + arguments.exportName}});
  } else if (!arguments.isLoadedOnly) {
    CallProvider(module, symbol, report);
  }
}

int RunProbe(const ProbeArguments& arguments) {
  Report report(arguments.key);
  WideString path;
  if (!platform::WideFromUtf8(arguments.path, path)) return kExitUsage;
  report.BeginStep(kLoading);
  platform::OwnedModule module;
  const platform::Code code = platform::OpenModule(path, module.Out());
  if (code != platform::kSuccess) {
    report.Write(LoadFault(path, code));
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

ChildReport ReadReport(const std::string& output, const std::string& key) {
  ChildReport report;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(key)) continue;
    const Json object = Json::parse(line.substr(key.size()), nullptr, false);
    if (!object.is_object()) continue;
    if (object.contains(kStep)) {
      report.step = object[kStep].get<std::string>();
    } else {
      report.facts.update(object);
    }
  }
  return report;
}

std::string StatusText(std::uint32_t status) {
  std::ostringstream text;
  if (status > 0xFFFF) text << "0x" << std::hex;
  text << status;
  return text.str();
}

// What happened to a child that didn't finish its report.
std::string DescribeEnd(const ChildResult& child, std::chrono::milliseconds limit) {
  switch (child.kind) {
    case ChildResult::Kind::kCrashed:
      return "it crashes (" + StatusText(child.status) + ")";
    case ChildResult::Kind::kTimedOut:
      return "it hangs (no answer within " + std::to_string(limit.count()) + " ms)";
    case ChildResult::Kind::kExited:
      break;
  }
  return "it ends the process (exit status " + StatusText(child.status) + ")";
}

ProbeResult Conclude(const ChildResult& child, const std::string& key,
                     std::chrono::milliseconds limit) {
  const ChildReport report = ReadReport(child.output, key);
  ProbeResult result;
  if (report.facts.contains(kType)) result.type = report.facts[kType].get<std::int32_t>();
  result.missing = report.facts.value(kMissing, std::vector<std::string>());
  result.fault = report.facts.value(kFault, std::string());
  result.isFatal = report.facts.value(kIsFatal, false);
  if (report.facts.contains(kStoreFault)) {
    result.storeFault = report.facts[kStoreFault].get<std::string>();
  }
  if (report.step == kDone) return result;
  const std::string what = DescribeEnd(child, limit) + " while " + report.step;
  if (result.type) {
    result.endFault = what;
  } else if (result.fault.empty()) {
    result.fault = what;
    result.isFatal = true;
  }
  return result;
}

std::string NewKey() {
  std::random_device random;
  return std::to_string(random()) + "-" + std::to_string(random()) + " ";
}

ProbeResult Probe(const WideString& module, std::vector<std::string> options,
                  std::chrono::milliseconds limit) {
  WideString program;
  ChildResult child;
  const std::string key = NewKey();
  options.insert(options.begin(), kCommand);
  options.insert(options.end(), {"--", key, platform::Utf8FromWide(module)});
  platform::Code code = platform::HostImagePath(program);
  if (code == platform::kSuccess) code = RunChild(program, options, limit, child);
  if (code == platform::kSuccess) return Conclude(child, key, limit);
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
  probe.AddOption("--export", arguments->exportName, "");
  probe.AddFlag("--load-only", arguments->isLoadedOnly, "");
  probe.OnChosen([arguments] { return [arguments](Output&) { return RunProbe(*arguments); }; });
}

}  // namespace larder::tool
