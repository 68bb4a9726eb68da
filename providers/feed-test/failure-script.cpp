#include "feed-test/failure-script.h"

#include <charconv>
#include <stdexcept>
#include <system_error>

#include "common/errors.h"
#include "common/object-identity.h"
#include "platform/wide.h"

namespace larder::feed {
namespace {

constexpr std::string_view kScriptMark = "fail:";

std::string Quote(std::string_view text) { return '"' + std::string(text) + '"'; }

bool TakePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// Removes and returns the text before the separator, and removes the separator; all of the text if
// there is none.
std::string_view TakeUntil(std::string_view& text, char separator, bool& found) {
  const std::size_t end = text.find(separator);
  found = end != std::string_view::npos;
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(found ? end + 1 : text.size());
  return piece;
}

Operation ParseOperation(std::string_view name) {
  if (name == "getkey") return Operation::kGetKey;
  if (name == "query") return Operation::kQuery;
  if (name == "freequery") return Operation::kFreeQuery;
  if (name == "write") return Operation::kWrite;
  throw std::invalid_argument("unknown operation " + Quote(name));
}

std::int32_t ParseCode(std::string_view digits) {
  std::int32_t code = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, code);
  if (error != std::errc() || stop != end) {
    throw std::invalid_argument("not a signed 32-bit decimal number: " + Quote(digits));
  }
  return code;
}

Outcome ParseFailure(std::string_view text) {
  Outcome outcome;
  if (text == "unknown") {
    outcome.kind = Outcome::Kind::kUnknown;
  } else if (TakePrefix(text, "code:")) {
    outcome.kind = Outcome::Kind::kCode;
    outcome.code = ParseCode(text);
  } else if (TakePrefix(text, "text:")) {
    outcome.kind = Outcome::Kind::kText;
    outcome.text = text;
  } else {
    throw std::invalid_argument("unknown outcome " + Quote(text));
  }
  return outcome;
}

Outcome ParseQueryOutcome(std::string_view text) {
  if (text == "empty") {
    Outcome outcome;
    outcome.kind = Outcome::Kind::kEmpty;
    return outcome;
  }
  const bool filled = TakePrefix(text, "filled,");
  Outcome outcome = ParseFailure(text);
  outcome.filled = filled;
  return outcome;
}

}  // namespace

void Outcome::Raise() const {
  if (kind == Kind::kCode) throw ResultError(code, "feed-test: failure requested by the path");
  if (kind == Kind::kText) throw std::runtime_error(text);
  if (kind == Kind::kUnknown) throw 0;  // not a std::exception
}

FailureScript FailureScript::OfPath(WideView path) {
  // Without a backslash npos + 1 is 0: the whole path.
  const std::string script = Shown(path.substr(path.rfind(u'\\') + 1));
  FailureScript result;
  std::string_view rest = script;
  if (!TakePrefix(rest, kScriptMark)) return result;
  try {
    for (bool more = true; more;) result.AddStep(TakeUntil(rest, ';', more));
  } catch (const std::invalid_argument& reason) {
    throw std::invalid_argument("feed-test: malformed script " + Quote(script) + ": " +
                                reason.what());
  }
  return result;
}

void FailureScript::AddStep(std::string_view step) {
  bool hasOutcome = false;
  std::string_view rest = step;
  const std::string_view name = TakeUntil(rest, '=', hasOutcome);
  if (!hasOutcome) throw std::invalid_argument("no outcome in the step " + Quote(step));
  const Operation operation = ParseOperation(name);
  Outcome& outcome = outcomes[static_cast<std::size_t>(operation)];
  if (outcome.kind != Outcome::Kind::kWork) {
    throw std::invalid_argument("more than one step for " + Quote(name));
  }
  outcome = operation == Operation::kQuery ? ParseQueryOutcome(rest) : ParseFailure(rest);
}

}  // namespace larder::feed
