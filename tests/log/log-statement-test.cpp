// Log statements and the trace session that they are sent to besides the log.
#include "log/log-statement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
class TraceSession : public testing::Test {
 protected:
  void SetUp() override {
    TraceFacility() = {};
    EmittedMessages().clear();
    DiskLogEnabled = false;
  }
  void TearDown() override { Detach(); }

  static void Attach() { ASSERT_TRUE(platform::OnModuleAttach(nullptr)); }
  static void Detach() { EXPECT_TRUE(platform::OnModuleDetach()); }

  static platform::Code Request(std::uint32_t request) {
    const platform::Code code = TraceFacility().Request(request);
    EXPECT_EQ(TraceFacility().bufferSize, 0U);
    return code;
  }
  static void Enable(std::uint64_t handle, std::uint8_t level, std::uint32_t flags) {
    TraceFacility().session = {handle, level, flags};
    ASSERT_EQ(Request(kTraceEnableEvents), platform::kSuccess);
  }
  static void ExpectBlock(std::uint64_t logger, std::uint8_t level, std::uint32_t flags) {
    EXPECT_EQ(TraceBlock.logger, logger);
    EXPECT_EQ(TraceBlock.level, level);
    EXPECT_EQ(TraceBlock.flags, flags);
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

TEST_F(TraceSession, IsRegisteredOnceFromAttachToDetach) {
  Attach();
  EXPECT_EQ(TraceControl, &TraceBlock);
  EXPECT_EQ(TraceFacility().registrations, 1);
  EXPECT_EQ(TraceFacility().context, &TraceBlock);
  EXPECT_EQ(GuidText(TraceFacility().control), "3be0f7d4-8a61-4c0e-b527-196fd243a87c");
  EXPECT_EQ(TraceBlock.registrationHandle, 0x77U);
  EXPECT_EQ(TraceBlock.flagsLength, 1);
  ExpectBlock(0, 0, 0);

  Detach();
  EXPECT_EQ(TraceControl, &UnregisteredTraceBlock);
  EXPECT_EQ(TraceBlock.registrationHandle, 0U);
  Detach();
  EXPECT_THAT(TraceFacility().ended, ElementsAre(0x77U));
}

TEST_F(TraceSession, AControllerOpensChangesAndClosesTheGateAnyNumberOfTimes) {
  Attach();
  LogTrace("before");
  Enable(5, 4, 2);
  LogTrace("first");
  Enable(5, 3, 2);
  LogTrace("lower level");
  Enable(5, 5, 1);
  LogTrace("other flags");
  Enable(6, 5, 0xFFFFFFFF);
  LogWarn("another session");
  for (const std::uint32_t unknown : {0U, 1U, 3U, 6U, 0xFFFFFFFFU}) {
    EXPECT_EQ(Request(unknown), 87U) << unknown;
    ExpectBlock(6, 5, 0xFFFFFFFF);
  }
  EXPECT_EQ(Request(kTraceDisableEvents), platform::kSuccess);
  ExpectBlock(0, 0, 0);
  LogError("after");
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: first", "6  WARN: another session"));

  Enable(7, 4, 3);
  Detach();
  LogTrace("detached");
  EXPECT_THAT(Emitted(), IsEmpty());
}

TEST_F(TraceSession, AControllerMayCallDuringTheRegistration) {
  TraceFacility().isEnabledAtOnce = true;
  TraceFacility().session = {5, 4, 2};
  Attach();
  EXPECT_EQ(TraceBlock.registrationHandle, 0x77U);
  LogTrace("at once");
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: at once"));
}

TEST_F(TraceSession, AFailedRegistrationLeavesTheGateClosed) {
  TraceFacility().registerCode = platform::kAccessDenied;
  Attach();
  LogTrace("nobody listens");
  Detach();
  EXPECT_THAT(Emitted(), IsEmpty());
  EXPECT_THAT(TraceFacility().ended, IsEmpty());
}

// The thread sanitizer reports a race between the controller's thread and the statements.
TEST_F(TraceSession, AControllerMaySwitchWhileOtherThreadsLog) {
  Attach();
  const RecordedLog log;
  constexpr int kLines = 500;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int line = 0; line < kLines; ++line) LogTrace("line ", line);
    });
  }
  for (int i = 0; i < kLines; ++i) {
    Enable(5, 3, 2);  // too low a level: nothing is emitted
    Request(kTraceDisableEvents);
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(Emitted(), IsEmpty());
  EXPECT_EQ(log.Lines().size(), 4U * kLines);
}

TEST_F(TraceSession, TheDecodersFileIsNamedAfterTheMessageGuidAndFormatsMessage10AsOneString) {
  const std::string guid = GuidText(kTraceMessageGuidValue);
  const std::string text = ContentOf(LARDER_TEST_DOCS "/" + guid + ".tmf");
  EXPECT_THAT(text, HasSubstr("\n" + guid + " larder //"));
  EXPECT_THAT(text, HasSubstr(" " + std::to_string(kTraceMessageNumber) + " \"%0%10!s!\""));
  EXPECT_THAT(text, HasSubstr("{\nArg, ItemString -- 10\n}"));
}

using LogStatement = TraceSession;

TEST_F(LogStatement, EvaluatesItsPiecesOnceForEachLineThatIsBuilt) {
  int evaluations = 0;
  const auto piece = [&] { return ++evaluations; };
  Attach();
  LogTrace("n ", piece());
  EXPECT_EQ(evaluations, 0);

  Enable(5, 4, 2);
  LogTrace("n ", piece());
  EXPECT_EQ(evaluations, 1);
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: n 1"));

  const RecordedLog log;
  LogWarn("n ", piece());
  EXPECT_EQ(evaluations, 3);
  EXPECT_THAT(Emitted(), ElementsAre("5  WARN: n 2"));

  TraceBlock.level = 0;  // the line for the session is built and dropped
  LogError("n ", piece());
  EXPECT_EQ(evaluations, 5);
  EXPECT_THAT(Emitted(), IsEmpty());
  EXPECT_THAT(log.Lines(), ElementsAre(" WARN: n 3", "ERROR: n 5"));
  EXPECT_THAT(log.WholeLines().front(), testing::MatchesRegex("../../.. ..:..:..:  WARN: n 3\r\n"));
}

TEST_F(LogStatement, EmitsTheMessageThatTheDecodersFileDescribes) {
  Attach();
  Enable(0x1234, 4, 2);
  LogTrace("body");
  ASSERT_EQ(EmittedMessages().size(), 1U);
  const auto& message = EmittedMessages().front();
  EXPECT_EQ(message.session, 0x1234U);
  EXPECT_EQ(message.flags, 0x2BU);
  EXPECT_EQ(message.number, 10);
  EXPECT_EQ(GuidText(message.message), GuidText(kTraceMessageGuidValue));
  EXPECT_EQ(message.argument, std::string("TRACE: body", 12));

  TraceOut(nullptr);
  EXPECT_EQ(EmittedMessages().back().argument, std::string("NULL", 5));
  Detach();
  TraceOut("unregistered");
  EXPECT_EQ(EmittedMessages().size(), 2U);
}

TEST_F(LogStatement, LosesTheLineWhosePieceThrowsAndNothingElse) {
  Attach();
  Enable(5, 4, 2);
  const RecordedLog log;
  int calls = 0;
  const auto throwsAt = [&](int call) {
    if (++calls == call) throw std::runtime_error("piece");
    return "piece";
  };
  LogTrace("first ", throwsAt(1));
  LogTrace("second ", throwsAt(3));  // for the log's line: the session's has been emitted
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: second piece"));
  EXPECT_THAT(log.Lines(), IsEmpty());
  try {
    throw std::runtime_error("outer");
  } catch (const std::exception& error) {
    LogError("lost ", throwsAt(4));
    LogError("kept ", error.what());
  }
  EXPECT_THAT(log.Lines(), ElementsAre("ERROR: kept outer"));
}

TEST_F(LogStatement, MayHavePiecesThatLog) {
  const RecordedLog log;
  const auto piece = [] {
    LogWarn("inner");
    return "outer";
  };
  LogTrace("an ", piece(), " line");
  // Evaluated once for the session and once for the log.
  EXPECT_THAT(log.Lines(), ElementsAre(" WARN: inner", " WARN: inner", "TRACE: an outer line"));
}

TEST_F(LogStatement, AScopeDecidesOnItsTwoLinesIndependently) {
  Attach();
  {
    ScopeTrace scope("Entering A()", "Leaving A()");
    Enable(5, 4, 2);
  }
  {
    ScopeTrace scope("Entering B()", "Leaving B()");
    TraceBlock.flags = 0;
  }
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: Leaving A()", "5 TRACE: Entering B()"));
  const RecordedLog log;
  EXPECT_THROW(
      {
        ScopeTrace scope("Entering C()", "Leaving C()");
        throw std::runtime_error("out of C");
      },
      std::runtime_error);
  EXPECT_THAT(log.Lines(), ElementsAre("TRACE: Entering C()", "TRACE: Leaving C()"));
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
  const int text = 2;
  [[maybe_unused]] const int larder = 0;
  if (body == 1)
    LogTrace(line.text, ' ', word, ' ', body, text);
  else
    LogError("never");
  EXPECT_THAT(log.Lines(), testing::ElementsAre("TRACE: a user's line word 12"));
}

}  // namespace
