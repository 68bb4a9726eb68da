// The report that a child process of the tool writes to its parent while it tries a module: lines
// of JSON on its standard output. Each line begins with a key that the parent chose, in case the
// module writes to every handle that it finds.
#pragma once

#include <chrono>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/code.h"
#include "platform/wide.h"
#include "tools/larder/status/child.h"

namespace larder::tool {

// In the child. Takes the process's standard output, so that what a module prints is discarded.
class ReportWriter {
 public:
  // Throws std::runtime_error if standard output can't be taken.
  explicit ReportWriter(std::string key);

  // Returns when the line can no longer be lost, whatever happens to the process.
  void Write(const nlohmann::json& object);

 private:
  struct Close {
    void operator()(std::FILE* closed) const noexcept { std::fclose(closed); }
  };

  const std::string key;
  const std::unique_ptr<std::FILE, Close> file;
};

// The texts of exceptions are cut to this length, because a parent reads a part of the output only.
inline constexpr std::size_t kMaxExceptionText = 4096;

struct ReportingChild {
  ChildResult result;
  std::vector<nlohmann::json> report;  // the objects in their order
};

// In the parent. Runs "larder COMMAND OPTION... -- KEY MODULE" in a child process, as RunChild
// does.
[[nodiscard]] platform::Code RunReportingChild(const char* command,
                                               std::vector<std::string> options,
                                               const WideString& module,
                                               std::chrono::milliseconds limit,
                                               ReportingChild& child);

// What happened to a child that didn't finish its report: "it crashes (11)". limit: as it was given
// to RunReportingChild.
std::string DescribeEnd(const ChildResult& child, std::chrono::milliseconds limit);

}  // namespace larder::tool
