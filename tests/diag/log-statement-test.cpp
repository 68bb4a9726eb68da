#include "diag/log-statement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <stdexcept>

#include "fakes/fake-trace.h"
#include "testing/recorded-log.h"

namespace {

using larder::EmittedMessages;
using larder::RecordedLog;
using larder::ScopeTrace;
using larder::TraceBlock;
using larder::TraceControl;
using testing::ElementsAre;
using testing::IsEmpty;

// A process whose trace session can be switched; each test is a process of its own, so the disk
// test is closed until a listener comes.
class LogStatement : public testing::Test {
 protected:
  void SetUp() override {
    EmittedMessages().clear();
    larder::DiskLogEnabled = false;  // as in a process that has had no listener yet
  }
  void TearDown() override { TraceControl = &larder::UnregisteredTraceBlock; }

  static void Enable(std::uint8_t level, std::uint32_t flags) {
    TraceBlock.level = level;
    TraceBlock.flags = flags;
    TraceBlock.logger = 0x1234;
    TraceControl = &TraceBlock;
  }

  static std::vector<std::string> Traced() {
    std::vector<std::string> lines;
    for (const auto& message : EmittedMessages()) {
      EXPECT_EQ(message.argument.back(), '\0');
      lines.emplace_back(message.argument.c_str());
    }
    return lines;
  }
};

TEST_F(LogStatement, EvaluatesItsPiecesOnceForEachLineThatIsBuilt) {
  int evaluations = 0;
  const auto piece = [&] { return ++evaluations; };
  LogTrace("n ", piece());
  EXPECT_EQ(evaluations, 0);

  Enable(4, 2);
  LogTrace("n ", piece());
  EXPECT_EQ(evaluations, 1);
  EXPECT_THAT(Traced(), ElementsAre("TRACE: n 1"));

  const RecordedLog log;
  LogWarn("n ", piece());
  EXPECT_EQ(evaluations, 3);
  EXPECT_THAT(Traced(), ElementsAre("TRACE: n 1", " WARN: n 2"));
  EXPECT_THAT(log.Lines(), ElementsAre(" WARN: n 3"));

  // With the disk alone the trace line is still built, and dropped by the sink.
  TraceBlock.level = 0;
  LogError("n ", piece());
  EXPECT_EQ(evaluations, 5);
  EXPECT_EQ(EmittedMessages().size(), 2U);
  EXPECT_THAT(log.Lines(), ElementsAre(" WARN: n 3", "ERROR: n 5"));
}

TEST_F(LogStatement, AMessageCarriesTheFacilitysNumbers) {
  Enable(4, 2);
  LogTrace("body");
  ASSERT_EQ(EmittedMessages().size(), 1U);
  const auto& message = EmittedMessages().front();
  EXPECT_EQ(message.session, 0x1234U);
  EXPECT_EQ(message.flags, 0x2BU);
  EXPECT_EQ(message.number, 10);
  EXPECT_EQ(message.message.data1, larder::kTraceMessageGuidValue.data1);
  EXPECT_EQ(message.argument, std::string("TRACE: body", 12));

  larder::TraceOut(nullptr);
  EXPECT_EQ(EmittedMessages().back().argument, std::string("NULL", 5));
  TraceControl = &larder::UnregisteredTraceBlock;
  larder::TraceOut("unregistered");
  EXPECT_EQ(EmittedMessages().size(), 2U);
}

TEST_F(LogStatement, ADiskLineHasStampWordBodyAndLineEnd) {
  const RecordedLog log;
  LogWarn("Unknown installerMessage ", 7);
  LogTrace("");
  std::string text;
  for (const std::string& line : log.WholeLines()) text += line;
  const std::regex stamp("\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d: ");
  EXPECT_EQ(std::regex_replace(text, stamp, "<stamp>"),
            "<stamp> WARN: Unknown installerMessage 7\r\n<stamp>TRACE: \r\n");
}

TEST_F(LogStatement, APieceThatThrowsCostsOnlyItsOwnStatement) {
  Enable(4, 2);
  const RecordedLog log;
  int calls = 0;
  const auto throwsAt = [&](int call) {
    if (++calls == call) throw std::runtime_error("piece");
    return "piece";
  };
  LogTrace("first ", throwsAt(1));
  EXPECT_THAT(Traced(), IsEmpty());
  EXPECT_THAT(log.Lines(), IsEmpty());

  calls = 0;
  LogTrace("second ", throwsAt(2));  // at the disk line: the trace line is out
  EXPECT_THAT(Traced(), ElementsAre("TRACE: second piece"));
  EXPECT_THAT(log.Lines(), IsEmpty());

  try {
    throw std::runtime_error("outer");
  } catch (const std::exception& error) {
    LogError("lost ", throwsAt(3));
    LogError("kept ", error.what());
  }
  EXPECT_THAT(log.Lines(), ElementsAre("ERROR: kept outer"));
}

TEST_F(LogStatement, APieceMayLogItself) {
  const RecordedLog log;
  const auto piece = [] {
    LogWarn("inner");
    return "outer";
  };
  LogTrace("an ", piece(), " line");
  // Once for the trace line, once for the disk line, each ahead of the line it is a piece of.
  EXPECT_THAT(log.Lines(), ElementsAre(" WARN: inner", " WARN: inner", "TRACE: an outer line"));
}

// Names that must not meet those of the statements.
struct TRACE {};
struct WARN {};
struct Error {};
struct LogLine {
  const char* text = "a user's line";
};

TEST_F(LogStatement, NamesOfTheUsersCantBreakIt) {
  const RecordedLog log;
  const LogLine line;
  const char* const word = "word";
  const int body = 1;
  const int text = 2;
  [[maybe_unused]] const int larder = 0;
  if (body == 1)
    LogTrace(line.text, ' ', word, ' ', body, text);
  else
    LogError("never");
  EXPECT_THAT(log.Lines(), ElementsAre("TRACE: a user's line word 12"));
}

TEST_F(LogStatement, TheTwoEndsOfAScopeAreIndependent) {
  {
    ScopeTrace scope("Entering A()", "Leaving A()");
    Enable(4, 2);
  }
  {
    ScopeTrace scope("Entering B()", "Leaving B()");
    TraceBlock.flags = 0;
  }
  EXPECT_THAT(Traced(), ElementsAre("TRACE: Leaving A()", "TRACE: Entering B()"));

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
