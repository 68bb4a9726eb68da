// What a child process reports about the rules while it tries a module, and what the parent makes
// of it.
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "tools/larder/check/rules.h"
#include "tools/larder/status/child-report.h"

namespace larder::tool {

// In the child. Thread-safe.
class CheckReport {
 public:
  explicit CheckReport(const std::string& key) : writer(key) {}

  // To be called before each step that may crash or hang. what: the end of "it crashes while ...".
  void Begin(Rule rule, const char* what);
  // A rule that has failed stays so.
  void Pass(Rule rule);
  // Does nothing for a rule that has failed before.
  void Fail(Rule rule, const std::string& reason);
  // Fails if there is a fault, otherwise passes.
  void Judge(Rule rule, const std::string& fault);
  // The rule can't be tried.
  void Skip(Rule rule, const std::string& reason);
  void End();

  [[nodiscard]] bool HasFailures() const;

 private:
  mutable std::mutex lock;
  ReportWriter writer;
  std::set<Rule> failed;
};

struct Finding {
  enum class Kind { kNotRun, kKept, kBroken };
  Kind kind = Kind::kNotRun;
  std::string reason;  // empty for a rule that is kept
};

// In the parent. A child that didn't finish has broken the rule that it was trying.
[[nodiscard]] std::map<Rule, Finding> Conclude(const ReportingChild& child,
                                               std::chrono::milliseconds limit);

}  // namespace larder::tool
