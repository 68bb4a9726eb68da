#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/message.h"
#include "platform/scoped-handle.h"
#include "tools/larder/check/array-blocks.h"
#include "tools/larder/check/module-trial.h"
#include "tools/larder/check/process-resources.h"
#include "tools/larder/cli/command.h"
#include "tools/larder/cli/commands.h"
#include "tools/larder/cli/console.h"
#include "tools/larder/cli/output.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/query/file-query.h"

namespace larder::tool {
namespace {

constexpr const char* kTrialCommand = "try-module";
constexpr std::uint64_t kMaxSeconds = 3600;
constexpr std::size_t kDescriptorSize = 0x10000;  // bytes

// --- The child process, which tries the module.

struct TrialArguments {
  std::string key;
  std::string module;
  std::string file;
  std::string descriptor;
};

ObjectDescriptor Padded(ObjectDescriptor bytes) {
  bytes.resize(std::max(bytes.size(), kDescriptorSize));
  return bytes;
}

ObjectDescriptor FileObject(const WideString& path) {
  return Padded(FileDescriptor(path, FileInfoOf(path).lastModified));
}

// A file that is there, one that isn't, and none.
std::vector<ObjectDescriptor> FileObjects(const WideString& path) {
  return {FileObject(path), FileObject(path + LARDER_WIDE(".missing")), FileObject({})};
}

ObjectDescriptor ReadDescriptor(const WideString& path) {
  ObjectDescriptor bytes(kDescriptorSize);
  std::size_t size = 0;
  platform::OwnedHandle file;
  platform::FileKind kind{};
  platform::Code code = platform::OpenFileToRead(path, file.Out(), kind);
  if (code == platform::kSuccess) {
    code = platform::ReadNext(file.Get(), bytes.data(), bytes.size(), size);
  }
  if (size == bytes.size()) {
    throw std::runtime_error("the descriptor " + PathText(path) + " has " + std::to_string(size) +
                             " bytes or more");
  }
  if (code == platform::kSuccess) return bytes;
  throw std::runtime_error("cannot read the descriptor " + PathText(path) + ": " +
                           platform::SystemReason(code));
}

// No code of the module runs after the report: the process might not end.
[[noreturn]] void RunTrial(const TrialArguments& arguments) {
  CheckReport report(arguments.key);
  WatchArrayNew();
  const WideString module = WideArgument("MODULE", arguments.module);
  const auto objects = arguments.descriptor.empty()
                           ? FileObjects(WideArgument("--file", arguments.file))
                           : std::vector<ObjectDescriptor>{ReadDescriptor(
                                 WideArgument("--descriptor", arguments.descriptor))};
  TryModule(module, objects, report);
  report.End();
  EndProcess(kExitOk);
}

// --- The parent process, which starts the child and prints what it has found.

struct Arguments {
  std::optional<std::string> module;
  std::optional<std::string> file;
  std::optional<std::string> descriptor;
  std::string seconds = "60";
  bool isList = false;
};

std::string RuleLine(const RuleEntry& entry, const std::string& text) {
  const std::string number = std::to_string(static_cast<int>(entry.rule));
  std::string line = std::string(2 - number.size(), ' ') + number + "  " + entry.name;
  line.resize(std::max<std::size_t>(line.size() + 2, 18), ' ');
  return line + Printable(text) + "\n";
}

int ListRules(Output& output) {
  for (const RuleEntry& entry : AllRules()) output.Write(RuleLine(entry, entry.text));
  return kExitOk;
}

std::string Verdict(const Finding& finding) {
  if (finding.kind == Finding::Kind::kKept) return "ok";
  const std::string word = finding.kind == Finding::Kind::kBroken ? "FAILED" : "not run";
  return finding.reason.empty() ? word : word + ": " + finding.reason;
}

int PrintFindings(std::map<Rule, Finding> findings, Output& output) {
  bool isGood = true;
  for (const RuleEntry& entry : AllRules()) {
    const Finding& finding = findings[entry.rule];
    isGood = isGood && finding.kind == Finding::Kind::kKept;
    output.Write(RuleLine(entry, Verdict(finding)));
  }
  return isGood ? kExitOk : kExitFailed;
}

struct Check {
  WideString module;
  WideString file;        // what is asked about, if there is no descriptor
  WideString descriptor;  // path of the file with its bytes, or empty
  std::chrono::seconds limit;
};

int RunCheck(const Check& check, Output& output) {
  if (!check.descriptor.empty())
    (void)ReadDescriptor(check.descriptor);  // not a fault of the module
  const std::vector<std::string> options = {"--file", platform::Utf8FromWide(check.file),
                                            "--descriptor",
                                            platform::Utf8FromWide(check.descriptor)};
  ReportingChild child;
  const platform::Code code =
      RunReportingChild(kTrialCommand, options, check.module, check.limit, child);
  if (!Succeeded("start a process for the module", code)) return kExitFailed;
  return PrintFindings(Conclude(child, check.limit), output);
}

WideString CheckedPath(const std::string& name, const std::string& argument) {
  WideString path;
  const platform::Code code = FullPath(argument, path);
  if (code != platform::kSuccess) {
    throw UsageError(name, argument + ": " + platform::SystemReason(code));
  }
  return path;
}

Check CheckedCheck(const Arguments& arguments) {
  if (!arguments.module) throw UsageError("MODULE", "is missing");
  const std::chrono::seconds limit(NumberArgument("--timeout", arguments.seconds, 1, kMaxSeconds));
  Check check{CheckedPath("MODULE", *arguments.module), {}, {}, limit};
  if (arguments.descriptor) {
    check.descriptor = CheckedPath("--descriptor", *arguments.descriptor);
  } else {
    check.file = arguments.file ? CheckedPath("FILE", *arguments.file) : check.module;
  }
  return check;
}

Action CheckedAction(const Arguments& arguments) {
  if (arguments.isList) return &ListRules;
  return [check = CheckedCheck(arguments)](Output& output) {
    (void)CountThreads();  // fails here, and not as a fault of the module
    return RunCheck(check, output);
  };
}

void AddTrialCommand(const Command& top) {
  const auto arguments = std::make_shared<TrialArguments>();
  const Command trial = top.AddHiddenCommand(kTrialCommand, "Try the rules on a module");
  trial.AddRequired("KEY", arguments->key, "");
  trial.AddRequired("MODULE", arguments->module, "");
  trial.AddOption("--file", "FILE", arguments->file, "");
  trial.AddOption("--descriptor", "FILE", arguments->descriptor, "");
  trial.OnChosen([arguments] { return [arguments](Output&) -> int { RunTrial(*arguments); }; });
}

}  // namespace

void AddCheckCommand(const Command& top) {
  const auto arguments = std::make_shared<Arguments>();
  const Command check = top.AddCommand("check", "Try the rules for providers on a module");
  check.AddDetails(
      "Prints each rule with ok, FAILED or not run. It needs no registry; the module\n"
      "runs in a child process. Exit status 0 means that all rules are ok.");
  check.AddOptional("MODULE", arguments->module, "File of the module");
  check.AddOptional("FILE", arguments->file,
                    "File that the provider is asked about (default: the module)");
  check.AddOption("--descriptor", "FILE", arguments->descriptor,
                  "File with the bytes of a descriptor, for providers of other objects");
  check.AddOption("--timeout", "SECONDS", arguments->seconds,
                  "Seconds that the module may take (default 60)");
  check.AddFlag("--rules", arguments->isList, "Print the rules instead");
  check.Exclude("--descriptor", "FILE");
  check.OnChosen([arguments] { return CheckedAction(*arguments); });
  AddTrialCommand(top);
}

}  // namespace larder::tool
