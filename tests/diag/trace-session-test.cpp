#include "diag/trace-session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>

#include "diag/log-statement.h"
#include "fakes/fake-trace.h"
#include "platform/entry.h"
#include "testing/files.h"
#include "testing/recorded-log.h"

namespace {

using larder::EmittedMessages;
using larder::TraceBlock;
using larder::TraceControl;
using larder::TraceFacility;
using larder::UnregisteredTraceBlock;
using larder::platform::kTraceDisableEvents;
using larder::platform::kTraceEnableEvents;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string GuidText(const larder::platform::Guid& guid) {
  char text[37];
  const auto* tail = guid.data4;
  std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", guid.data1,
                guid.data2, guid.data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5],
                tail[6], tail[7]);
  return text;
}

// A process in which the library's module is loaded; a controller may be at work.
class TraceSession : public testing::Test {
 protected:
  void SetUp() override {
    TraceFacility() = {};
    EmittedMessages().clear();
    larder::DiskLogEnabled = false;
  }
  void TearDown() override { larder::platform::OnModuleDetach(); }

  static void Attach() { ASSERT_TRUE(larder::platform::OnModuleAttach(nullptr)); }

  static void Enable(std::uint64_t handle, std::uint8_t level, std::uint32_t flags) {
    TraceFacility().session = {handle, level, flags};
    ASSERT_EQ(TraceFacility().Request(kTraceEnableEvents), larder::platform::kSuccess);
    ASSERT_EQ(TraceFacility().bufferSize, 0U);
  }

  static void ExpectBlock(std::uint64_t logger, std::uint8_t level, std::uint32_t flags) {
    EXPECT_EQ(TraceBlock.logger, logger);
    EXPECT_EQ(TraceBlock.level, level);
    EXPECT_EQ(TraceBlock.flags, flags);
  }

  // The sessions that a line goes to, and the line.
  static std::vector<std::string> Emitted() {
    std::vector<std::string> lines;
    for (const auto& message : EmittedMessages()) {
      lines.push_back(std::to_string(message.session) + " " + message.argument.c_str());
    }
    EmittedMessages().clear();
    return lines;
  }
};

TEST_F(TraceSession, AttachRegistersOnceAndDetachGivesTheRegistrationBack) {
  Attach();
  EXPECT_EQ(TraceControl, &TraceBlock);
  EXPECT_EQ(TraceFacility().registrations, 1);
  EXPECT_EQ(TraceFacility().context, &TraceBlock);
  EXPECT_EQ(GuidText(TraceFacility().control), "3be0f7d4-8a61-4c0e-b527-196fd243a87c");
  EXPECT_EQ(TraceBlock.registrationHandle, 0x77U);
  EXPECT_EQ(TraceBlock.flagsLength, 1);
  ExpectBlock(0, 0, 0);

  EXPECT_TRUE(larder::platform::OnModuleDetach());
  EXPECT_EQ(TraceControl, &UnregisteredTraceBlock);
  EXPECT_EQ(TraceBlock.registrationHandle, 0U);
  EXPECT_TRUE(larder::platform::OnModuleDetach());
  EXPECT_THAT(TraceFacility().ended, ElementsAre(0x77U));
}

TEST_F(TraceSession, AControllerOpensChangesAndClosesTheGateAsOftenAsItLikes) {
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
  ExpectBlock(6, 5, 0xFFFFFFFF);
  EXPECT_EQ(TraceFacility().Request(kTraceDisableEvents), larder::platform::kSuccess);
  EXPECT_EQ(TraceFacility().bufferSize, 0U);
  ExpectBlock(0, 0, 0);
  LogError("after");
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: first", "6  WARN: another session"));

  Enable(7, 4, 3);
  larder::platform::OnModuleDetach();
  LogTrace("detached");
  EXPECT_THAT(Emitted(), IsEmpty());
}

TEST_F(TraceSession, AnyOtherRequestIsRefusedAndChangesNothing) {
  Attach();
  Enable(5, 4, 2);
  TraceFacility().session = {9, 9, 9};
  for (const std::uint32_t request : {0U, 1U, 3U, 6U, 0xFFFFFFFFU}) {
    EXPECT_EQ(TraceFacility().Request(request), 87U) << request;
    EXPECT_EQ(TraceFacility().bufferSize, 0U);
    ExpectBlock(5, 4, 2);
  }
}

TEST_F(TraceSession, ASessionThatIsOnAlreadyReachesAModuleThatIsStillRegistering) {
  TraceFacility().isEnabledAtOnce = true;
  TraceFacility().session = {5, 4, 2};
  Attach();
  EXPECT_EQ(TraceBlock.registrationHandle, 0x77U);
  LogTrace("at once");
  EXPECT_THAT(Emitted(), ElementsAre("5 TRACE: at once"));
}

TEST_F(TraceSession, AFailedRegistrationLeavesTheGateClosedAndNothingToGiveBack) {
  TraceFacility().registerCode = larder::platform::kAccessDenied;
  Attach();
  EXPECT_EQ(TraceControl, &TraceBlock);
  ExpectBlock(0, 0, 0);
  LogTrace("nobody listens");
  EXPECT_TRUE(larder::platform::OnModuleDetach());
  EXPECT_THAT(Emitted(), IsEmpty());
  EXPECT_THAT(TraceFacility().ended, IsEmpty());
}

// The facility's thread writes without a lock while statements read.
TEST_F(TraceSession, AControllerMaySwitchWhileOtherThreadsLog) {
  Attach();
  const larder::RecordedLog log;
  constexpr int kLines = 500;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int line = 0; line < kLines; ++line) LogTrace("line ", line);
    });
  }
  for (int i = 0; i < kLines; ++i) {
    Enable(5, 3, 2);  // never enough: nothing is emitted
    TraceFacility().Request(kTraceDisableEvents);
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(Emitted(), IsEmpty());
  EXPECT_EQ(log.Lines().size(), 4U * kLines);
}

TEST_F(TraceSession, TheDecodersFileIsNamedAfterTheMessageGuidAndFormatsMessage10AsOneString) {
  const std::string guid = GuidText(larder::kTraceMessageGuidValue);
  const std::string text = larder::ContentOf(LARDER_TEST_DOCS "/" + guid + ".tmf");
  EXPECT_THAT(text, HasSubstr("\n" + guid + " larder //"));
  EXPECT_THAT(text, HasSubstr(" " + std::to_string(larder::kTraceMessageNumber) + " \"%0%10!s!\""));
  EXPECT_THAT(text, HasSubstr("{\nArg, ItemString -- 10\n}"));
}

}  // namespace
