#include "log/log-statement.h"

namespace larder {

void WriteStatement(const char* word, LogBody body) noexcept {
  try {
    {
      LogLine line = body.Build();
      TraceOut(line.ForTrace(word));
    }
    if (!IsDiskLogEnabled()) return;
    char stamp[kLogStampSize];
    WriteTimeStamp(stamp);
    LogLine line = body.Build();
    LRLogListenerList::Instance().Log(line.ForDisk(stamp, word));
  } catch (...) {  // NOLINT(bugprone-empty-catch): a failed statement must not affect its caller
  }
}

void ScopeTrace::Write(const char* text) noexcept {
  WriteStatement(kTraceWord, LogBody([text] { return LogLine(text); }));
}

}  // namespace larder
