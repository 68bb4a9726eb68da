// The statements by which the whole library reports on itself.
//
//   LogTrace("Reading data for key ", key);
//   LogWarn("RegEnumKeyEx failed: ", FormatSystemError(status));
//
// One statement feeds two sinks, a trace session (trace-session.h) and the listeners of this
// process (log-listener-list.h), each with a line of its own. The three words are text at the head
// of the line, not levels: one gate serves all. With the gate closed a statement costs the reads of
// the gate, and its pieces aren't evaluated; with it open they are evaluated once for each line
// that is really built. A statement never throws: whatever goes wrong inside ends that statement in
// silence. What a piece may be is said in log-line.h.
#pragma once

#include <cstddef>
#include <type_traits>

#include "log/log-line.h"
#include "log/log-listener-list.h"
#include "log/log-pieces.h"
#include "log/trace-session.h"

namespace larder {

inline bool IsLogGateOpen() noexcept { return IsTraceEnabled() || IsDiskLogEnabled(); }

// Builds a body anew at each call. Refers to a callable that outlives it.
class LogBody {
 public:
  template <typename Callable>
  explicit LogBody(const Callable& callable) noexcept
      : object(&callable), invoke([](const void* body) -> LogLine {
          return (*static_cast<const Callable*>(body))();
        }) {}

  LogLine Build() const { return invoke(object); }

 private:
  const void* object;
  LogLine (*invoke)(const void* body);
};

inline constexpr char kTraceWord[] = "TRACE: ";
inline constexpr char kWarnWord[] = " WARN: ";
inline constexpr char kErrorWord[] = "ERROR: ";

// What a statement does behind its gate.
void WriteStatement(const char* word, LogBody body) noexcept;

// No name is introduced around the pieces, so that none of theirs can be hidden.
#define LARDER_LOG_STATEMENT(word, ...)                                                            \
  do {                                                                                             \
    if (::larder::IsLogGateOpen())                                                                 \
      ::larder::WriteStatement(word,                                                               \
                               ::larder::LogBody([&] { return ::larder::LogLine(__VA_ARGS__); })); \
  } while (false)
#define LogTrace(...) LARDER_LOG_STATEMENT(::larder::kTraceWord, __VA_ARGS__)
#define LogWarn(...) LARDER_LOG_STATEMENT(::larder::kWarnWord, __VA_ARGS__)
#define LogError(...) LARDER_LOG_STATEMENT(::larder::kErrorWord, __VA_ARGS__)

// A text that is known when compiling and lives for ever.
class LogLiteral {
 public:
  template <std::size_t Size>
  consteval LogLiteral(const char (&literal)[Size])  // NOLINT(google-explicit-constructor)
      : text(literal) {}

  const char* text;
};

// Writes the lines that open and close a function: the first local of the function that it traces.
// The two ends look at the gate independently of each other; the closing line is also written when
// an exception leaves the function. Keeping the leave text costs no allocation and can't fail.
class ScopeTrace {
 public:
  ScopeTrace(LogLiteral enter, LogLiteral leave) noexcept : leaveText(leave.text) {
    if (IsLogGateOpen()) Write(enter.text);
  }
  ~ScopeTrace() {
    if (IsLogGateOpen()) Write(leaveText);
  }
  ScopeTrace(const ScopeTrace&) = delete;
  ScopeTrace& operator=(const ScopeTrace&) = delete;

 private:
  static void Write(const char* text) noexcept;

  const char* leaveText;
};

}  // namespace larder
