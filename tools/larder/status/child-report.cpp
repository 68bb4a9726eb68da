#include "tools/larder/status/child-report.h"

#include <random>
#include <sstream>
#include <stdexcept>

#include "platform/module.h"

namespace larder::tool {
namespace {

using Json = nlohmann::json;

std::string NewKey() {
  std::random_device random;
  return std::to_string(random()) + "-" + std::to_string(random()) + " ";
}

std::vector<Json> ReadReport(const std::string& output, const std::string& key) {
  std::vector<Json> report;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(key)) continue;
    Json object = Json::parse(line.substr(key.size()), nullptr, false);
    if (object.is_object()) report.push_back(std::move(object));
  }
  return report;
}

std::string StatusText(std::uint32_t status) {
  std::ostringstream text;
  if (status > 0xFFFF) text << "0x" << std::hex;
  text << status;
  return text.str();
}

}  // namespace

ReportWriter::ReportWriter(std::string newKey)
    : key(std::move(newKey)), file(TakeStandardOutput()) {
  if (!file) throw std::runtime_error("cannot take standard output");
  EndWithStarter();
}

void ReportWriter::Write(const Json& object) {
  EndIfCopied();
  const std::string line =
      "\n" + key + object.dump(-1, ' ', true, Json::error_handler_t::replace) + "\n";
  std::fwrite(line.data(), 1, line.size(), file.get());
  std::fflush(file.get());
}

platform::Code RunReportingChild(const char* command, std::vector<std::string> options,
                                 const WideString& module, std::chrono::milliseconds limit,
                                 ReportingChild& child) {
  const std::string key = NewKey();
  options.insert(options.begin(), command);
  options.insert(options.end(), {"--", key, platform::Utf8FromWide(module)});
  WideString program;
  platform::Code code = platform::HostImagePath(program);
  if (code == platform::kSuccess) code = RunChild(program, options, limit, child.result);
  if (code == platform::kSuccess) child.report = ReadReport(child.result.output, key);
  return code;
}

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

}  // namespace larder::tool
