// Log statements and the trace session that they are sent to besides the log.
#include "log/log-statement.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>

#include "fakes/fake-trace.h"
#include "log/trace-session.h"
#include "platform/entry.h"
#include "testing/files.h"
#include "testing/recorded-log.h"

namespace larder {
namespace {

using platform::kTraceDisableEvents;
using platform::kTraceEnableEvents;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string GuidText(const platform::Guid& guid) {
  char text[37];
  const auto* tail = guid.data4;
  std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", guid.data1,
                guid.data2, guid.data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5],
                tail[6], tail[7]);
  return text;
}

// A process that is about to load the library's module, with no listener yet.
class LogStatement : public testing::Test {
 protected:
  LogStatement() {
    TraceFacility() = {};
    EmittedMessages().clear();
    LogGate = 0;
  }
  ~LogStatement() override { Detach(); }

  static void Attach() { ASSERT_TRUE(platform::OnModuleAttach(nullptr)); }
  static void Detach() { EXPECT_TRUE(platform::OnModuleDetach()); }

  static platform::Code Request(std::uint32_t request) {
    const platform::Code code = TraceFacility().Request(request);
    EXPECT_EQ(TraceFacility().bufferSize, 0U);
    return code;
  }
  static void Enable(std::uint64_t session = 5, std::uint8_t level = 4, std::uint32_t flags = 2) {
    TraceFacility().session = {session, level, flags};
    ASSERT_EQ(Request(kTraceEnableEvents), platform::kSuccess);
  }

  // The lines emitted since the last call, each behind its session.
  static std::vector<std::string> Emitted() {
    std::vector<std::string> lines;
    for (const auto& message : EmittedMessages()) {
      lines.push_back(std::to_string(message.session) + " " + message.argument.c_str());
    }
    EmittedMessages().clear();
    return lines;
  }
};

TEST_F(LogStatement, IsEmittedAsTheDecodersFileDescribesFromAttachToDetach) {
  TraceFacility().isEnabledAtOnce = true;  // the controller calls during the registration
  TraceFacility().session = {5, 4, 2};
  Attach();
  EXPECT_EQ(TraceFacility().context, &TraceBlock);
  EXPECT_EQ(GuidText(TraceFacility().control), "3be0f7d4-8a61-4c0e-b527-196fd243a87c");
  EXPECT_EQ(TraceBlock.registrationHandle, 0x77U);
  EXPECT_EQ(TraceBlock.flagsLength, 1);
  LogTrace("body");
  TraceOut(nullptr);
  Detach();
  Detach();
  EXPECT_EQ(TraceFacility().registrations, 1);
  EXPECT_THAT(TraceFacility().ended, ElementsAre(0x77U));
  EXPECT_FALSE(IsLogGateOpen());
  LogTrace("detached");
  TraceOut("detached");

  ASSERT_EQ(EmittedMessages().size(), 2U);
  const auto& message = EmittedMessages().front();
  EXPECT_EQ(message.flags, 0x2BU);
  EXPECT_EQ(message.argument, std::string("TRACE: body", 12));
  EXPECT_EQ(EmittedMessages().back().argument, std::string("NULL", 5));
  const std::string guid = GuidText(message.message);
  const std::string text = ContentOf(LARDER_TEST_DOCS "/" + guid + ".tmf");
  EXPECT_THAT(text, HasSubstr("\n" + guid + " larder //"));
  EXPECT_THAT(text, HasSubstr(" " + std::to_string(message.number) + " \"%0%10!s!\""));
  EXPECT_THAT(text, HasSubstr("{\nArg, ItemString -- 10\n}"));
}

TEST_F(LogStatement, AControllerOpensChangesAndClosesTheGateAnyNumberOfTimes) {
  Attach();
  int evaluations = 0;
  const auto counted = [&](const char* text) {
    ++evaluations;
    return text;
  };
  LogTrace(counted("before"));
  Enable();
  LogTrace(counted("first"));
  Enable(5, 3);
  LogTrace(counted("lower level"));
  Enable(5, 5, 1);
  LogTrace(counted("other flags"));
  Enable(6, 5, 0xFFFFFFFF);
  for (const std::uint32_t unknown : {0U, 6U}) EXPECT_EQ(Request(unknown), 87U);
  LogWarn(counted("another session"));
  EXPECT_EQ(Request(kTraceDisableEvents), platform::kSuccess);
  EXPECT_EQ(TraceBlock.logger + TraceBlock.level + TraceBlock.flags, 0U);
  LogError(counted("after"));
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: first", "6  WARN: another session"));
  EXPECT_EQ(evaluations, 2);
}

TEST_F(LogStatement, AFailedRegistrationLeavesTheGateClosed) {
  TraceFacility().registerCode = platform::kAccessDenied;
  Attach();
  LogTrace("nobody listens");
  Detach();
  EXPECT_THAT(Emitted(), IsEmpty());
  EXPECT_THAT(TraceFacility().ended, IsEmpty());
}

// The thread sanitizer reports a race between the controller's thread and the statements.
TEST_F(LogStatement, AControllerMaySwitchWhileOtherThreadsLog) {
  Attach();
  const RecordedLog log;
  constexpr int kLines = 500;
  std::vector<std::jthread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int line = 0; line < kLines; ++line) LogTrace("line ", line);
    });
  }
  for (int i = 0; i < kLines; ++i) {
    Enable(5, 3);  // too low a level: nothing is emitted
    Request(kTraceDisableEvents);
  }
  threads.clear();
  EXPECT_THAT(Emitted(), IsEmpty());
  EXPECT_EQ(log.Lines().size(), 4U * kLines);
}

TEST_F(LogStatement, TheGateForgetsNoListenerThatIsAddedWhileAControllerSwitches) {
  Attach();
  Enable();
  RecordedLog log;
  std::atomic<bool> isDone = false;
  std::jthread controller([&] {
    for (int i = 0; i < 200000; ++i) {
      TraceFacility().Request(kTraceDisableEvents);
      TraceFacility().Request(kTraceEnableEvents);
    }
    isDone = true;
  });
  int forgotten = 0;
  while (!isDone) {
    LogGate.fetch_and(~kDiskSink);
    LRLogListenerList::Instance().AddListener(&log);
    for (int look = 0; look < 50; ++look) forgotten += IsDiskLogEnabled() ? 0 : 1;
  }
  EXPECT_EQ(forgotten, 0);
  EXPECT_EQ(LogGate, kTraceSink | kDiskSink);
}

TEST_F(LogStatement, EvaluatesItsPiecesOnceForEachSinkEvenIfNoSessionWantsTheLine) {
  int evaluations = 0;
  const auto piece = [&] { return ++evaluations; };
  Attach();
  LogTrace("n ", piece());
  EXPECT_EQ(evaluations, 0);
  Enable();
  LogTrace("n ", piece());
  const RecordedLog log;
  LogWarn("n ", piece());
  Request(kTraceDisableEvents);
  LogError("n ", piece());
  EXPECT_EQ(evaluations, 5);
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: n 1", "5  WARN: n 2"));
  EXPECT_THAT(log.WholeLines(),
              ElementsAre(testing::MatchesRegex("../../.. ..:..:..:  WARN: n 3\r\n"),
                          testing::EndsWith(": ERROR: n 5\r\n")));
}

TEST_F(LogStatement, LosesTheLineWhosePieceThrowsAndNothingElse) {
  Attach();
  Enable();
  const RecordedLog log;
  int calls = 0;
  const auto throwsAt = [&](int call) {
    if (++calls == call) throw std::runtime_error("piece");
    LogWarn("inner");  // a piece may log
    return "piece";
  };
  LogTrace("first ", throwsAt(1));
  LogTrace("second ", throwsAt(3));  // for the log's line: the session's has been emitted
  EXPECT_THAT(Emitted(), ElementsAre("5  WARN: inner", "5 TRACE: second piece"));
  LogTrace("third ", throwsAt(0));
  EXPECT_THAT(log.Lines(),
              ElementsAre(" WARN: inner", " WARN: inner", " WARN: inner", "TRACE: third piece"));
}

TEST_F(LogStatement, AScopeDecidesOnItsTwoLinesIndependently) {
  Attach();
  {
    ScopeTrace scope("Entering A()", "Leaving A()");
    Enable();
  }
  {
    ScopeTrace scope("Entering B()", "Leaving B()");
    Request(kTraceDisableEvents);
  }
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: Leaving A()", "5 TRACE: Entering B()"));
}

}  // namespace
}  // namespace larder

// The macros must not pick up these names of a user. Compiling is half of the test.
namespace {

struct TRACE {};
struct WARN {};
struct Error {};
struct LogLine {
  const char* text = "a user's line";
};

TEST(LogStatementMacro, DoesNotMeetTheNamesOfItsUsers) {
  const larder::RecordedLog log;
  const LogLine line;
  const char* const word = "word";
  const int body = 1;
  [[maybe_unused]] const int larder = 0;
  if (body == 1)
    LogTrace(line.text, ' ', word, ' ', body);
  else
    LogError("never");
  EXPECT_THAT(log.Lines(), testing::ElementsAre("TRACE: a user's line word 1"));
}

}  // namespace
