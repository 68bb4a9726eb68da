// The log statements of the whole library.
//
//   LogTrace("Reading data for key ", key);
//   LogWarn("RegEnumKeyEx failed: ", FormatSystemError(status));
//
// A statement has two sinks, a trace session (trace-session.h) and the listeners of this process
// (log-listener-list.h), and evaluates its arguments for each. TRACE, WARN and ERROR are words at
// the head of the line, not levels: one gate (log-gate.h) serves all three. With the gate closed a
// statement costs one read, and its arguments aren't evaluated; with the gate open they are
// evaluated once for the trace session, even if no session wants the line, and once for the
// listeners if the process has ever had one. A statement never throws: a failure inside ends it
// silently. log-line.h lists the types of arguments.
#pragma once

#include <cstddef>
#include <type_traits>

#include "log/log-gate.h"
#include "log/log-line.h"
#include "log/log-listener-list.h"
#include "log/log-pieces.h"
#include "log/trace-session.h"

namespace larder {

// Evaluates the arguments and builds the line at each call. Refers to a callable that outlives it.
class LogBody {
 public:
  template <typename Callable>
  explicit LogBody(const Callable& callable) noexcept
      : object(&callable), invoke([](const void* body, LineUse use) -> LogLine {
          return (*static_cast<const Callable*>(body))(use);
        }) {}

  LogLine Build(LineUse use) const { return invoke(object, use); }

 private:
  const void* object;
  LogLine (*invoke)(const void* body, LineUse use);
};

inline constexpr char kTraceWord[] = "TRACE: ";
inline constexpr char kWarnWord[] = " WARN: ";
inline constexpr char kErrorWord[] = "ERROR: ";

// What a statement does when the gate is open.
void WriteStatement(const char* word, LogBody body) noexcept;

// Declares one name around the arguments. No argument uses it.
#define LARDER_LOG_STATEMENT(word, ...)                                                       \
  do {                                                                                        \
    if (::larder::IsLogGateOpen()) [[unlikely]]                                               \
      ::larder::WriteStatement(word, ::larder::LogBody([&](::larder::LineUse larderLineUse) { \
                                 return ::larder::LogLine(larderLineUse, __VA_ARGS__);        \
                               }));                                                           \
  } while (false)
#define LogTrace(...) LARDER_LOG_STATEMENT(::larder::kTraceWord, __VA_ARGS__)
#define LogWarn(...) LARDER_LOG_STATEMENT(::larder::kWarnWord, __VA_ARGS__)
#define LogError(...) LARDER_LOG_STATEMENT(::larder::kErrorWord, __VA_ARGS__)

// A string literal.
class LogLiteral {
 public:
  template <std::size_t Size>
  consteval LogLiteral(const char (&literal)[Size])  // NOLINT(google-explicit-constructor)
      : text(literal) {}

  const char* text;
};

// Logs the entry and the exit of a function, whose first local variable it is. Each of the two
// checks the gate by itself. The exit is also logged when an exception leaves the function. Stores
// only a pointer, so it can't fail.
class ScopeTrace {
 public:
  ScopeTrace(LogLiteral enter, LogLiteral leave) noexcept : leaveText(leave.text) {
    if (IsLogGateOpen()) [[unlikely]]
      Write(enter.text);
  }
  // Inlined in exception handling too: a call would force the object into memory, on every path.
  [[gnu::always_inline]] ~ScopeTrace() {
    if (IsLogGateOpen()) [[unlikely]]
      Write(leaveText);
  }
  ScopeTrace(const ScopeTrace&) = delete;
  ScopeTrace& operator=(const ScopeTrace&) = delete;

 private:
  static void Write(const char* text) noexcept;

  const char* leaveText;
};

}  // namespace larder
