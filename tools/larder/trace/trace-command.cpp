#include <memory>
#include <optional>
#include <string>

#include "tools/larder/cli/commands.h"
#include "tools/larder/trace/trace-session.h"

namespace larder::tool {
namespace {

void AddStart(const Command& trace) {
  const auto folder = std::make_shared<std::optional<std::string>>();
  const Command start =
      trace.AddCommand("start", "Record the lines of all programs from now on, running ones too");
  start.AddOption("--output", "DIR", *folder, "Folder of the trace: a new or an empty one");
  start.OnChosen([folder] {
    WideArgument("--output", folder->value_or(""));
    return [folder](Output& output) { return StartTrace(*folder, output); };
  });
}

void AddStop(const Command& trace) {
  trace.AddCommand("stop", "End the recording").OnChosen([] { return &StopTrace; });
}

void AddShow(const Command& trace) {
  const auto arguments = std::make_shared<TraceShowArguments>();
  const Command show = trace.AddCommand("show", "Print the lines of a trace, the oldest first");
  show.AddOptional("DIR", arguments->folder, "Folder of the trace; none: the last one");
  show.AddFlag("--json", arguments->isJson, "Print one JSON object a line instead (Linux)");
  show.OnChosen([arguments] {
    WideArgument("DIR", arguments->folder.value_or(""));
    return [arguments](Output& output) { return ShowTrace(*arguments, output); };
  });
}

}  // namespace

void AddTraceCommand(const Command& top) {
  const Command trace =
      top.AddCommand("trace", "Record what the library does in running programs, and read it");
  AddStart(trace);
  AddStop(trace);
  AddShow(trace);
}

}  // namespace larder::tool
