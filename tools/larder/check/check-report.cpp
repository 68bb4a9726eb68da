#include "tools/larder/check/check-report.h"

namespace larder::tool {
namespace {

using Json = nlohmann::json;

// The keys of the child's report.
constexpr const char* kRule = "rule";
constexpr const char* kEvent = "event";
constexpr const char* kText = "text";

enum Event { kBegun, kPassed, kFailed, kSkipped, kEnded };

Json Entry(Event event, Rule rule, const std::string& text) {
  return {{kEvent, event}, {kRule, rule}, {kText, text}};
}

void Apply(Event event, const std::string& text, Finding& finding) {
  if (finding.kind == Finding::Kind::kBroken) return;
  if (event == kPassed) finding = {Finding::Kind::kKept, {}};
  if (event == kFailed) finding = {Finding::Kind::kBroken, text};
  if (event == kSkipped) finding = {Finding::Kind::kNotRun, text};
}

}  // namespace

void CheckReport::Begin(Rule rule, const char* what) {
  const std::lock_guard guard(lock);
  writer.Write(Entry(kBegun, rule, what));
}

void CheckReport::Pass(Rule rule) {
  const std::lock_guard guard(lock);
  writer.Write(Entry(kPassed, rule, {}));
}

void CheckReport::Fail(Rule rule, const std::string& reason) {
  const std::lock_guard guard(lock);
  if (failed.insert(rule).second) writer.Write(Entry(kFailed, rule, reason));
}

void CheckReport::Judge(Rule rule, const std::string& fault) {
  if (fault.empty()) {
    Pass(rule);
  } else {
    Fail(rule, fault);
  }
}

void CheckReport::Skip(Rule rule, const std::string& reason) {
  const std::lock_guard guard(lock);
  writer.Write(Entry(kSkipped, rule, reason));
}

void CheckReport::End() {
  const std::lock_guard guard(lock);
  writer.Write({{kEvent, kEnded}});
}

bool CheckReport::HasFailures() const {
  const std::lock_guard guard(lock);
  return !failed.empty();
}

std::map<Rule, Finding> Conclude(const ReportingChild& child, std::chrono::milliseconds limit) {
  std::map<Rule, Finding> findings;
  Rule last = Rule::kLoading;
  std::string step = "it is being loaded";
  for (const Json& object : child.report) {
    const auto event = object.at(kEvent).get<Event>();
    if (event == kEnded) return findings;
    const auto rule = object.at(kRule).get<Rule>();
    const auto text = object.at(kText).get<std::string>();
    if (event == kBegun) {
      last = rule;
      step = text;
    } else {
      Apply(event, text, findings[rule]);
    }
  }
  Apply(kFailed, DescribeEnd(child.result, limit) + " while " + step, findings[last]);
  return findings;
}

}  // namespace larder::tool
