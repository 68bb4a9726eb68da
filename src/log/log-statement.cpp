#include "log/log-statement.h"

namespace larder {

void WriteStatement(const char* word, LogBody body) noexcept {
  try {
    {
      // The pieces are evaluated even if no session wants the line.
      const LineUse use = IsTraceEnabled() ? LineUse::kWanted : LineUse::kUnwanted;
      LogLine line = body.Build(use);
      if (use == LineUse::kWanted) TraceOut(line.ForTrace(word));
    }
    if (!IsDiskLogEnabled()) return;
    char stamp[kLogStampSize];
    WriteTimeStamp(stamp);
    LogLine line = body.Build(LineUse::kWanted);
    LRLogListenerList::Instance().Log(line.ForDisk(stamp, word));
  } catch (...) {  // NOLINT(bugprone-empty-catch): a failed statement must not affect its caller
  }
}

void ScopeTrace::Write(const char* text) noexcept {
  WriteStatement(kTraceWord, LogBody([text](LineUse use) { return LogLine(use, text); }));
}

}  // namespace larder
