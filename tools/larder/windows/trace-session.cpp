#include "tools/larder/trace/trace-session.h"

#include <array>
#include <cstdio>
#include <stdexcept>

#include "log/trace-session.h"
#include "platform/message.h"
#include "platform/module.h"
#include "support/paths.h"
#include "tools/larder/cli/command.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/status/module-file.h"

namespace larder::tool {
namespace {

// Of the session, and of its files.
constexpr const char* kName = "larder";

std::string GuidText(const platform::Guid& guid) {
  std::array<char, 40> text;
  const std::uint8_t* const rest = guid.data4;
  const int length =
      std::snprintf(text.data(), text.size(), "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                    guid.data1, guid.data2, guid.data3, rest[0], rest[1], rest[2], rest[3], rest[4],
                    rest[5], rest[6], rest[7]);
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

WideString FullOf(const std::string& path) {
  WideString full;
  const platform::Code code = FullPath(path, full);
  if (code == platform::kSuccess) return full;
  throw std::runtime_error("cannot use the path " + path + ": " + platform::SystemReason(code));
}

// A file of the session. Without a folder it is in the current one.
std::string FileOf(const std::optional<std::string>& folder, const char* extension) {
  const std::string path = PathText(FullOf(folder.value_or(".")));
  return Quoted(path + (path.ends_with('\\') ? "" : "\\") + kName + extension);
}

// What tells the decoder how a message becomes text. It is installed with the tool.
std::string FormatFile() {
  WideString program;
  const platform::Code code = platform::HostImagePath(program);
  if (code != platform::kSuccess) {
    throw std::runtime_error("the folder of this program isn't known: " +
                             platform::SystemReason(code));
  }
  const WideString path = FullOf(PathText(GetPath(program)) + LARDER_TRACE_FORMATS + "/" +
                                 GuidText(kTraceMessageGuidValue) + ".tmf");
  if (IsThere(path)) return Quoted(PathText(path));
  throw std::runtime_error("the format file isn't there: " + PathText(path));
}

}  // namespace

int StartTrace(const std::optional<std::string>& folder, Output& output) {
  if (folder && !IsThere(FullOf(*folder))) {
    output.Write("mkdir " + Quoted(PathText(FullOf(*folder))) + "\n");
  }
  std::array<char, 16> selection;  // the flags and the level
  std::snprintf(selection.data(), selection.size(), "0x%x %u", kTraceFlag, kTraceLevel);
  output.Write(std::string("logman start ") + kName + " -p " +
               Quoted("{" + GuidText(kTraceControlGuid) + "}") + " " + selection.data() + " -o " +
               FileOf(folder, ".etl") + " -ets\n");
  return kExitOk;
}

int StopTrace(Output& output) {
  output.Write(std::string("logman stop ") + kName + " -ets\n");
  return kExitOk;
}

int ShowTrace(const TraceShowArguments& arguments, Output& output) {
  if (arguments.isJson) throw UsageError("--json", "not on this system");
  const std::string text = FileOf(arguments.folder, ".txt");
  output.Write("tracefmt " + FileOf(arguments.folder, ".etl") + " -tmf " + FormatFile() + " -o " +
               text + "\ntype " + text + "\n");
  return kExitOk;
}

}  // namespace larder::tool
