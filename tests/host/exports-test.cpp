// The six functions as a client sees them, and what they log.
#include <gmock/gmock.h>
#include <larder/larder.h>

#include <cstring>
#include <limits>
#include <regex>
#include <vector>

#include "host/host-machine.h"
#include "log/log-pieces.h"
#include "testing/files.h"

namespace larder {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::Not;

constexpr std::int32_t kTestType = 2;

// A client's block whose type isn't the provider's.
struct ClientBlock {
  DataBlockHeader header{sizeof(ClientBlock), 4};
  char text[8] = "facts";
};

class Exports : public testing::Test {
 protected:
  void SetUp() override {
    host.AddProvider("FeedTest", "feed-test.dll");
    host.AddProvider("Four", "type-4.dll");
    ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
    host.log.Clear();
  }
  void TearDown() override { EXPECT_EQ(LarderRelease(), LARDER_OK); }

  std::int32_t Query(WideView path, std::int32_t type = kTestType) {
    const TestDescriptor descriptor(path);
    return LarderQuery(handle, &descriptor, type, 0, &data, LARDER_QUERY_VERSION);
  }
  std::int32_t Write(WideView path, std::int32_t type = kTestType) {
    const TestDescriptor descriptor(path);
    return LarderWrite(handle, &descriptor, type, &block.header);
  }
  // The ERROR lines so far, without that word.
  std::string Errors() {
    return std::regex_replace(host.LogText(), std::regex("TRACE: .*\n|ERROR: "), "");
  }

  HostMachine host;
  LarderHandle handle = nullptr;
  DataBlockHeader* const untouched = reinterpret_cast<DataBlockHeader*>(this);
  DataBlockHeader* data = untouched;
  ClientBlock block;
};

TEST_F(Exports, AWrittenBlockIsReadBackWithTheProvidersType) {
  ASSERT_EQ(Write(LARDER_WIDE("a")), LARDER_OK);
  EXPECT_EQ(block.header.providerType, 4) << "the client's block isn't changed";
  ASSERT_EQ(Query(LARDER_WIDE("a")), LARDER_OK);
  EXPECT_EQ(data->dataSize, sizeof block);
  EXPECT_EQ(data->providerType, kTestType);
  EXPECT_EQ(std::memcmp(data + 1, block.text, sizeof block.text), 0);
  EXPECT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
  EXPECT_EQ(Query(LARDER_WIDE("b")), LARDER_E_NO_DATA);
  EXPECT_EQ(data, nullptr);
  EXPECT_THAT(host.LogText(), Not(HasSubstr("ERROR: ")));

  block.header.dataSize = 0;  // the provider gets an empty buffer: feed-test removes the object
  EXPECT_EQ(Write(LARDER_WIDE("a")), LARDER_OK);
  EXPECT_EQ(Query(LARDER_WIDE("a")), LARDER_E_NO_DATA);
}

TEST_F(Exports, ArgumentsAreCheckedInOrder) {
  const TestDescriptor object(LARDER_WIDE("a"));
  const auto wrong = reinterpret_cast<LarderHandle>(this);
  EXPECT_THAT(
      (std::vector{LarderQuery(nullptr, nullptr, 2, 0, nullptr, 0),
                   LarderQuery(wrong, &object, 2, 0, &data, 1), LarderFreeQuery(nullptr, nullptr),
                   LarderWrite(nullptr, nullptr, 2, nullptr)}),
      Each(LARDER_E_INVALID_HANDLE));
  EXPECT_THAT(
      (std::vector{LarderQuery(handle, nullptr, 9, 0, nullptr, 2), LarderFreeQuery(handle, nullptr),
                   LarderWrite(handle, nullptr, 2, nullptr)}),
      Each(LARDER_E_PARAMETER_2));
  EXPECT_THAT((std::vector{LarderQuery(handle, &object, 9, 0, nullptr, 2),
                           LarderWrite(handle, &object, 2, nullptr)}),
              Each(LARDER_E_PARAMETER_3));
  EXPECT_EQ(LarderQuery(handle, &object, 9, 0, &data, '7'), LARDER_E_WRONG_VERSION);
  EXPECT_EQ(data, untouched);
  EXPECT_EQ(Errors(),
            "<host> tried to query with an invalid handle\n"
            "<host> tried to query with an invalid handle\n"
            "<host> tried to query with an invalid handle\n"
            "<host> tried to write with an invalid handle\n"
            "<host> tried to query with a null object descriptor\n"
            "<host> tried to query with a null data pointer\n"
            "<host> tried to write with a null object descriptor\n"
            "<host> tried to query with a null data pointer\n"
            "<host> tried to write with a null data pointer\n"
            "<host> tried to query with version 7 and current version is 1\n");
}

TEST_F(Exports, ATypeWithoutAProviderIsAGenericErrorWithItsTextInTheLog) {
  const std::pair<std::int32_t, std::string> cases[] = {
      {6, "144 Unexpected data provider type 6 requested.\n"},
      {-1, "144 Unexpected data provider type 18446744073709551615 requested.\n"},
      {3, "149 No provider for provider type 3\n"}};
  for (const auto& [type, text] : cases) {
    host.log.Clear();
    EXPECT_EQ(Query(LARDER_WIDE("a"), type), LARDER_E_GENERIC);
    EXPECT_EQ(Write(LARDER_WIDE("a"), type), LARDER_E_GENERIC);
    // The library frees the block nevertheless.
    auto* const bytes = new unsigned char[sizeof(DataBlockHeader)];
    auto* const stray = new (bytes) DataBlockHeader{sizeof(DataBlockHeader), type};
    EXPECT_EQ(LarderFreeQuery(handle, stray), LARDER_E_GENERIC);
    const std::string end = " src/providers/data-provider-mgr.cpp:" + text;
    EXPECT_EQ(Errors(), "Error in LarderQuery" + end + "Error in LarderWrite" + end +
                            "Error in LarderFreeQuery" + end);
  }
  EXPECT_EQ(data, untouched);
}

TEST_F(Exports, OnlyQueryPassesAProvidersCodeOn) {
  EXPECT_EQ(Write(LARDER_WIDE("fail:getkey=code:-15")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), Not(HasSubstr("data for key")));  // the failure ends the call
  EXPECT_EQ(Write(LARDER_WIDE("fail:write=code:-15")), LARDER_E_GENERIC);

  EXPECT_EQ(Query(LARDER_WIDE("fail:query=code:-15")), -15);
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=filled,code:0")), 0);
  host.log.Clear();
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=text:no luck")), LARDER_E_GENERIC);
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=unknown")), LARDER_E_GENERIC);
  EXPECT_EQ(Write(LARDER_WIDE("fail:write=unknown")), LARDER_E_GENERIC);
  EXPECT_EQ(data, untouched);

  for (const auto* const freeing :
       {LARDER_WIDE("fail:freequery=code:-15"), LARDER_WIDE("fail:freequery=unknown")}) {
    ASSERT_EQ(Write(freeing), LARDER_OK);
    ASSERT_EQ(Query(freeing), LARDER_OK);
    EXPECT_EQ(LarderFreeQuery(handle, data), LARDER_E_GENERIC);  // frees the block nevertheless
  }
  EXPECT_THAT(Errors(), testing::StartsWith("Error in LarderQuery no luck\nError in LarderQuery.\n"
                                            "Error in LarderWrite.\n"));
  EXPECT_THAT(Errors(), testing::EndsWith("Error in LarderFreeQuery.\n"));
}

TEST(Session, TheLogHasEveryStepOfAWholeLife) {
  HostMachine host;
  LiveGoldenSession(host);
  EXPECT_EQ(host.LogText(), ContentOf(LARDER_TEST_GOLDEN "/session.txt"));
  EXPECT_THAT(host.Events(),
              testing::ElementsAre("type-3 loaded", "type-3 created", "type-1 loaded",
                                   "type-1 created", "type-1 destroyed", "type-1 unloaded",
                                   "type-3 destroyed", "type-3 unloaded"));
}

TEST(Session, TheFirstReferenceBuildsTheHandleAndTheLastReleaseDestroysIt) {
  HostMachine host;
  host.AddProvider("A", "type-0.dll");
  for (int life = 1; life <= 2; ++life) {
    LarderHandle first = nullptr;
    LarderHandle again = nullptr;
    EXPECT_EQ(LarderInit(UnexpectedCall, &first), LARDER_OK);
    host.log.Clear();
    EXPECT_EQ(LarderInit(UnexpectedCall, &again), LARDER_E_ALREADY_INITIALIZED);
    EXPECT_EQ(again, first);
    // These take no reference and log nothing but their scope.
    EXPECT_EQ(LarderInit(UnexpectedCall, nullptr), LARDER_E_PARAMETER_2);
    EXPECT_EQ(LarderInit(nullptr, &again), LARDER_E_PARAMETER_1);
    EXPECT_EQ(again, nullptr);
    const std::string entering = "TRACE: Entering LarderInit()\n";
    const std::string leaving = "TRACE: Leaving LarderInit()\n";
    EXPECT_EQ(host.LogText(),
              entering + "TRACE: <host> initialized Larder version 1.0.0.298, ref count 2\n" +
                  leaving + entering + leaving + entering + leaving);
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    EXPECT_EQ(host.Count("type-0 destroyed"), life - 1);
    EXPECT_EQ(LarderRelease(), LARDER_OK);
    EXPECT_EQ(host.Count("type-0 unloaded"), life);
    EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
    EXPECT_THAT(host.LogText(),
                HasSubstr("ERROR: <host> tried to release handle too many times\n"));
  }
}

TEST(LarderErrorToString, WritesTheWholeTextOrNothing) {
  const auto textOf = [](std::int32_t code) {
    std::vector<LarderWideChar> buffer(LarderErrorToString(code, 0, nullptr));
    const auto size = static_cast<std::uint32_t>(buffer.size());
    EXPECT_EQ(LarderErrorToString(code, size, buffer.data()), size);
    EXPECT_EQ(buffer.back(), 0);
    return WideToUtf8(WideView(buffer.data(), size - 1));
  };
  std::string texts;
  for (std::int32_t code = LARDER_OK; code >= LARDER_E_FILE_ID_MISMATCH; --code) {
    texts += std::to_string(code) + " " + textOf(code) + "\n";
  }
  EXPECT_EQ(texts, ContentOf(LARDER_TEST_GOLDEN "/result-texts.txt"));
  using Limits = std::numeric_limits<std::int32_t>;
  for (const std::int32_t unknown : {1, -16, Limits::min(), Limits::max()}) {
    EXPECT_EQ(textOf(unknown), "") << unknown;
  }

  WideString tooSmall(13, LARDER_WIDE('#'));
  EXPECT_EQ(LarderErrorToString(LARDER_E_GENERIC, 13, tooSmall.data()), 14U);
  EXPECT_EQ(tooSmall, WideString(13, LARDER_WIDE('#')));
  EXPECT_EQ(LarderErrorToString(LARDER_E_GENERIC, 14, nullptr), 14U);
}

}  // namespace
}  // namespace larder
