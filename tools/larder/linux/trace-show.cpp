#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

#include "tools/larder/cli/command.h"
#include "tools/larder/cli/text.h"
#include "tools/larder/linux/lttng.h"
#include "tools/larder/linux/trace-folder.h"
#include "tools/larder/linux/trace-reader.h"
#include "tools/larder/trace/trace-session.h"

namespace larder::tool {
namespace {

namespace fs = std::filesystem;

std::string LineText(const TraceLine& line) {
  const auto column = [](const std::string& text) {
    return (text.empty() ? "-" : Printable(text)) + "\t";
  };
  std::string text = line.text;
  // An event takes one line. The symbol is U+240A, as of Printable.
  for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;) {
    text.replace(at, 1, "\xE2\x90\x8A");
  }
  return column(line.time) + column(line.process) + column(line.processId) + column(line.threadId) +
         text + "\n";
}

std::string LineJson(const TraceLine& line) {
  using Json = nlohmann::ordered_json;
  const auto number = [](const std::string& text) {
    const auto value = ParseInt32(text);
    return value ? Json(*value) : Json();
  };
  const Json object = {{"time", line.time},
                       {"process", line.process},
                       {"pid", number(line.processId)},
                       {"tid", number(line.threadId)},
                       {"line", line.text}};
  return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

// A session that runs hands over what it has recorded so far, in a folder of its own. Elsewhere are
// files that it is writing.
fs::path ReadableFolder(const std::optional<std::string>& given) {
  const fs::path last = LastTraceFolder();
  fs::path folder = given ? FullFolder(*given) : last;
  if (folder.empty()) throw std::runtime_error("this user has no trace; give the folder of one");
  if (folder != last || !HasTraceSession()) return folder;
  std::string reason;
  if (RunLttng({"rotate", TraceSessionName()}, reason)) return folder / "archives";
  throw std::runtime_error("cannot read the session that runs: " + reason);
}

void ReportLosses(const TraceLosses& losses) {
  std::string discarded = std::to_string(losses.discarded);
  if (losses.isDiscardedMore) discarded = "more than " + discarded;
  if (discarded != "0") {
    PrintError("lines that are missing because the session's buffers were full: " + discarded);
  }
  if (losses.tooLong != 0) {
    PrintError("lines that are missing because they have more than 64 KiB: " +
               std::to_string(losses.tooLong));
  }
}

}  // namespace

int ShowTrace(const TraceShowArguments& arguments, Output& output) {
  const fs::path folder = ReadableFolder(arguments.folder);
  const auto print = [&](const TraceLine& line) {
    output.Write(arguments.isJson ? LineJson(line) : LineText(line));
    return !output.Failed();
  };
  ReportLosses(ReadTrace(folder, print));
  return kExitOk;
}

}  // namespace larder::tool
