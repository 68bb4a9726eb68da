#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <larder/larder.h>

#include <cstring>
#include <vector>

#include "host/file-descriptor.h"
#include "host/host-machine.h"

namespace larder {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::int32_t kTestType = 2;

// A block that a client computed, of a type that isn't the provider's.
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

TEST_F(Exports, ABlockGoesInAndComesBackAsTheProvidersOwn) {
  ASSERT_EQ(Write(LARDER_WIDE("a")), LARDER_OK);
  EXPECT_EQ(block.header.providerType, 4) << "the client's block stays as it is";
  ASSERT_EQ(Query(LARDER_WIDE("a")), LARDER_OK);
  EXPECT_EQ(data->dataSize, sizeof block);
  EXPECT_EQ(data->providerType, kTestType);
  EXPECT_EQ(std::memcmp(data + 1, block.text, sizeof block.text), 0);
  EXPECT_EQ(LarderFreeQuery(handle, data), LARDER_OK);
  EXPECT_EQ(Query(LARDER_WIDE("b")), LARDER_E_NO_DATA);
  EXPECT_EQ(data, nullptr);
  EXPECT_THAT(host.LogText(), Not(HasSubstr("ERROR: ")));

  block.header.dataSize = 0;  // the provider sees an empty buffer: feed-test forgets the object
  EXPECT_EQ(Write(LARDER_WIDE("a")), LARDER_OK);
  EXPECT_EQ(Query(LARDER_WIDE("a")), LARDER_E_NO_DATA);
}

TEST_F(Exports, ArgumentsAreTestedInOrder) {
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

TEST_F(Exports, ATypeThatNobodyServesIsAGenericErrorWithItsTextInTheLog) {
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

    // The block is freed all the same, by the library.
    auto* const bytes = new unsigned char[sizeof(DataBlockHeader)];
    auto* const stray = new (bytes) DataBlockHeader{sizeof(DataBlockHeader), c.type};
    EXPECT_EQ(LarderFreeQuery(handle, stray), LARDER_E_GENERIC);
    EXPECT_THAT(host.LogText(),
                HasSubstr(std::string("ERROR: Error in LarderFreeQuery ") + c.text));
  }
  EXPECT_EQ(data, untouched);
}

TEST_F(Exports, OnlyQueryPassesAProvidersCodeOn) {
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=code:-15")), -15);
  EXPECT_EQ(Query(LARDER_WIDE("fail:getkey=code:-12")), -12);
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=filled,code:77")), 77);
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=code:0")), 0);
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=text:no luck")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: Error in LarderQuery no luck\n"));
  EXPECT_EQ(Query(LARDER_WIDE("fail:query=unknown")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: Error in LarderQuery.\n"));
  EXPECT_EQ(data, untouched);

  EXPECT_EQ(Write(LARDER_WIDE("fail:write=code:-15")), LARDER_E_GENERIC);
  EXPECT_EQ(Write(LARDER_WIDE("fail:getkey=code:-15")), LARDER_E_GENERIC);
  EXPECT_EQ(Write(LARDER_WIDE("fail:write=unknown")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: Error in LarderWrite.\n"));
}

TEST_F(Exports, AFailedKeyIsTheEndOfTheCall) {
  EXPECT_EQ(Query(LARDER_WIDE("fail:getkey=text:no key")), LARDER_E_GENERIC);
  EXPECT_EQ(Write(LARDER_WIDE("fail:getkey=text:no key")), LARDER_E_GENERIC);
  EXPECT_THAT(host.LogText(), Not(HasSubstr("data for key")));
  EXPECT_THAT(host.LogText(), Not(HasSubstr("DbBuffer")));
}

TEST_F(Exports, AFailedFreeQueryStillFreesTheBlock) {
  for (const auto* const script :
       {LARDER_WIDE("fail:freequery=code:-15"), LARDER_WIDE("fail:freequery=unknown")}) {
    ASSERT_EQ(Write(script), LARDER_OK);
    ASSERT_EQ(Query(script), LARDER_OK);
    EXPECT_EQ(LarderFreeQuery(handle, data), LARDER_E_GENERIC);
  }
  EXPECT_THAT(host.LogText(), HasSubstr("ERROR: Error in LarderFreeQuery.\n"));
}

}  // namespace
}  // namespace larder
