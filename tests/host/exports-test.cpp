// The six functions as a client sees them, and what they log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <cstring>
#include <limits>
#include <vector>

#include "host/host-machine.h"
#include "log/log-pieces.h"
#include "testing/files.h"

namespace larder {
namespace {

using testing::ElementsAre;
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
  const TestDescriptor descriptor(LARDER_WIDE("a"));
  const auto wrong = reinterpret_cast<LarderHandle>(this);
  std::string call = "LarderQuery";
  const auto isRefused = [&](std::int32_t result, std::int32_t code, const std::string& reason) {
    EXPECT_EQ(result, code) << reason;
    EXPECT_EQ(host.LogText(), "TRACE: Entering " + call + "()\nERROR: <host> tried to " + reason +
                                  "\nTRACE: Leaving " + call + "()\n");
    host.log.Clear();
  };
  isRefused(LarderQuery(nullptr, nullptr, 2, 0, nullptr, 0), LARDER_E_INVALID_HANDLE,
            "query with an invalid handle");
  isRefused(LarderQuery(wrong, &descriptor, 2, 0, &data, 1), LARDER_E_INVALID_HANDLE,
            "query with an invalid handle");
  isRefused(LarderQuery(handle, nullptr, 9, 0, nullptr, 2), LARDER_E_PARAMETER_2,
            "query with a null object descriptor");
  isRefused(LarderQuery(handle, &descriptor, 9, 0, nullptr, 2), LARDER_E_PARAMETER_3,
            "query with a null data pointer");
  isRefused(LarderQuery(handle, &descriptor, 9, 0, &data, '7'), LARDER_E_WRONG_VERSION,
            "query with version 7 and current version is 1");
  isRefused(LarderQuery(handle, &descriptor, 2, 0, &data, 2), LARDER_E_WRONG_VERSION,
            "query with version \x02 and current version is 1");
  EXPECT_EQ(data, untouched);
  call = "LarderFreeQuery";
  isRefused(LarderFreeQuery(nullptr, nullptr), LARDER_E_INVALID_HANDLE,
            "query with an invalid handle");
  isRefused(LarderFreeQuery(handle, nullptr), LARDER_E_PARAMETER_2,
            "query with a null data pointer");
  call = "LarderWrite";
  isRefused(LarderWrite(nullptr, nullptr, 2, nullptr), LARDER_E_INVALID_HANDLE,
            "write with an invalid handle");
  isRefused(LarderWrite(handle, nullptr, 2, nullptr), LARDER_E_PARAMETER_2,
            "write with a null object descriptor");
  isRefused(LarderWrite(handle, &descriptor, 2, nullptr), LARDER_E_PARAMETER_3,
            "write with a null data pointer");
}

TEST_F(Exports, ATypeWithoutAProviderIsAGenericErrorWithItsTextInTheLog) {
  const struct {
    std::int32_t type;
    const char* text;
  } cases[] = {
      {6, "src/providers/data-provider-mgr.cpp:144 Unexpected data provider type 6 requested.\n"},
      {-1,
       "src/providers/data-provider-mgr.cpp:144 Unexpected data provider type "
       "18446744073709551615 requested.\n"},
      {3, "src/providers/data-provider-mgr.cpp:149 No provider for provider type 3\n"},
  };
  for (const auto& c : cases) {
    host.log.Clear();
    EXPECT_EQ(Query(LARDER_WIDE("a"), c.type), LARDER_E_GENERIC);
    EXPECT_THAT(host.LogText(), HasSubstr(std::string("ERROR: Error in LarderQuery ") + c.text));
    EXPECT_EQ(Write(LARDER_WIDE("a"), c.type), LARDER_E_GENERIC);
    EXPECT_THAT(host.LogText(), HasSubstr(std::string("ERROR: Error in LarderWrite ") + c.text));

    // The library frees the block nevertheless.
    auto* const bytes = new unsigned char[sizeof(DataBlockHeader)];
    auto* const stray = new (bytes) DataBlockHeader{sizeof(DataBlockHeader), c.type};
    EXPECT_EQ(LarderFreeQuery(handle, stray), LARDER_E_GENERIC);
    EXPECT_THAT(host.LogText(),
                HasSubstr(std::string("ERROR: Error in LarderFreeQuery ") + c.text));
  }
  EXPECT_EQ(data, untouched);
}

TEST_F(Exports, OnlyQueryPassesAProvidersCodeOn) {
  EXPECT_EQ(Query(LARDER_WIDE("fail:getkey=code:-12")), -12);
  EXPECT_EQ(Write(LARDER_WIDE("fail:getkey=code:-15")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), Not(HasSubstr("data for key")));  // the failure ends the call

  EXPECT_EQ(Query(LARDER_WIDE("fail:query=code:-15")), -15);
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=filled,code:77")), 77);
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=code:0")), 0);
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=text:no luck")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: Error in LarderQuery no luck\n"));
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=unknown")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: Error in LarderQuery.\n"));
  EXPECT_EQ(data, untouched);

  for (const auto* const script :
       {LARDER_WIDE("fail:freequery=code:-15"), LARDER_WIDE("fail:freequery=unknown")}) {
    ASSERT_EQ(Write(script), LARDER_OK);
    ASSERT_EQ(Query(script), LARDER_OK);
    EXPECT_EQ(LarderFreeQuery(handle, data), LARDER_E_GENERIC);  // frees the block nevertheless
  }
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: Error in LarderFreeQuery.\n"));

  EXPECT_EQ(Write(LARDER_WIDE("fail:write=code:-15")), LARDER_E_GENERIC);
  EXPECT_EQ(Write(LARDER_WIDE("fail:write=unknown")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: Error in LarderWrite.\n"));
}

TEST(Session, TheLogHasEveryStepOfAWholeLife) {
  HostMachine host;
  host.AddProvider("A", "type-3.dll");
  host.AddProvider("B", "type-1.dll");
  const TestDescriptor descriptor(LARDER_WIDE("C:\\file"));
  LarderHandle handle = nullptr;
  DataBlockHeader* data = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  ASSERT_EQ(LarderQuery(handle, &descriptor, 3, 0, &data, LARDER_QUERY_VERSION), LARDER_OK);
  ASSERT_EQ(LarderWrite(handle, &descriptor, 1, data), LARDER_OK);
  ASSERT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
  ASSERT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(host.LogText(), ContentOf(LARDER_TEST_GOLDEN "/session.txt"));
  EXPECT_THAT(host.Events(), ElementsAre("type-3 loaded", "type-3 created", "type-1 loaded",
                                         "type-1 created", "type-1 destroyed", "type-1 unloaded",
                                         "type-3 destroyed", "type-3 unloaded"));
}

TEST(Session, TheFirstReferenceBuildsTheHandleAndTheLastReleaseDestroysIt) {
  HostMachine host;
  host.AddProvider("A", "type-0.dll");
  LarderHandle first = nullptr;
  EXPECT_EQ(LarderInit(UnexpectedCall, &first), LARDER_OK);
  EXPECT_THAT(host.LogText(), HasSubstr("TRACE: <host> created new handle\n"
                                        "TRACE: <host> initialized Larder version 1.0.0.298, "
                                        "ref count 1\n"));
  host.log.Clear();
  for (const char* const count : {"2", "3"}) {
    LarderHandle again = nullptr;
    EXPECT_EQ(LarderInit(UnexpectedCall, &again), LARDER_E_ALREADY_INITIALIZED);
    EXPECT_EQ(again, first);
    EXPECT_EQ(host.LogText(),
              std::string("TRACE: Entering LarderInit()\n"
                          "TRACE: <host> initialized Larder version 1.0.0.298, ref count ") +
                  count + "\nTRACE: Leaving LarderInit()\n");
    host.log.Clear();
  }
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(host.Count("type-0 destroyed"), 0);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_THAT(host.LogText(), HasSubstr("TRACE: <host> released handle, ref count 0\n"
                                        "TRACE: Last ref released, handle destroyed\n"));
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: <host> tried to release handle too many times\n"));
  EXPECT_EQ(host.Count("type-0 unloaded"), 1);

  EXPECT_EQ(LarderInit(UnexpectedCall, &first), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(host.Count("type-0 loaded"), 2);
}

TEST(Session, ARefusedInitTakesNoReferenceAndIsSilent) {
  HostMachine host;
  host.AddProvider("A", "type-0.dll");
  LarderHandle handle = nullptr;
  ASSERT_EQ(LarderInit(UnexpectedCall, &handle), LARDER_OK);
  host.log.Clear();
  EXPECT_EQ(LarderInit(UnexpectedCall, nullptr), LARDER_E_PARAMETER_2);
  EXPECT_EQ(LarderInit(nullptr, &handle), LARDER_E_PARAMETER_1);
  EXPECT_EQ(handle, nullptr);
  const std::string scopes = "TRACE: Entering LarderInit()\nTRACE: Leaving LarderInit()\n";
  EXPECT_EQ(host.LogText(), scopes + scopes);
  EXPECT_EQ(LarderRelease(), LARDER_OK);
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
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
