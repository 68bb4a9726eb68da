// The in-memory provider, the statistics provider, and the provider of the guide, which is built
// from the document's text; all as built modules.
#include <larder/feed-stats.h>

#include <thread>

#include "providers/provider-test.h"
#include "testing/process.h"

namespace larder {
namespace {

class FeedTest : public testing::Test {
 protected:
  static Descriptor Named(const std::string& name) {
    WideString path;
    EXPECT_TRUE(platform::WideFromUtf8(name, path));
    return Descriptor(path);
  }
  void Write(const Descriptor& descriptor, std::string_view payload) const {
    WriteTo(*provider, descriptor, BlockOf(payload));
  }
  std::string Query(const Descriptor& descriptor) const {
    DbBuffer block = QueryOf(*provider, descriptor);
    std::string payload = block.data == nullptr ? "(no data)" : PayloadOf(block);
    FreeQueryOf(*provider, block);
    EXPECT_EQ(block.data, nullptr);
    return payload;
  }

  const ProviderModule provider{BesideProgram(LARDER_WIDE("feed-test.dll"))};
  const Descriptor object = Named("C:\\some\\object");
};

TEST_F(FeedTest, KeepsACopyOfTheLastBlockUntilAnEmptyBufferIsWritten) {
  Write(object, "the first and longer one");
  DbBuffer mine = BlockOf("payload", 5);
  provider->Write(object.Get(), nullptr, &mine);
  mine.data[sizeof(DataBlockHeader)] = 'X';
  DbBuffer block = QueryOf(*provider, object);
  EXPECT_EQ(PayloadOf(block), "payload");
  EXPECT_EQ(RecordIn<DataBlockHeader>(block).providerType, 2);
  EXPECT_EQ(block.size, 15u);
  block.data[sizeof(DataBlockHeader)] = 'Y';
  EXPECT_EQ(Query(object), "payload");
  Write(object, "");
  EXPECT_EQ(Query(object), "") << "a bare header";
  WriteTo(*provider, object, DbBuffer());
  WriteTo(*provider, object, DbBuffer());
  EXPECT_EQ(Query(object), "(no data)");
}

TEST_F(FeedTest, DistinguishesObjectsByPathAndTimeAndNotByTheKeyAlone) {
  // FNV-1a over the bytes of the time 0 and of the unit 0x0061.
  EXPECT_EQ(KeyOf(*provider, Named("a")), 0x6962E1CC2097A744u);
  // The last two times were found by search: the keys agree, whatever the path is.
  const WideString path(5000, u'x');
  const Descriptor objects[] = {Descriptor(path),
                                Descriptor(path, 1ull << 32),
                                Descriptor(path.substr(1)),
                                Descriptor(WideString{0xD800, u'a'}),
                                Descriptor(WideString{0xDC00, u'a'}),
                                Descriptor(path, 0x442A885CD399A8C0),
                                Descriptor(path, 0xE25BACAA183E4A35)};
  EXPECT_EQ(KeyOf(*provider, objects[5]), KeyOf(*provider, objects[6]));
  for (std::size_t i = 0; i < std::size(objects); ++i) Write(objects[i], std::to_string(i));
  for (std::size_t i = 0; i < std::size(objects); ++i) {
    EXPECT_EQ(Query(objects[i]), std::to_string(i));
  }
}

TEST_F(FeedTest, RefusesBlocksOfTheWrongSizeAndAnEmptyPath) {
  DbBuffer cut = BlockOf("payload");
  cut.size -= 1;
  const std::string cannot = "feed-test: can't write \"C:\\some\\object\": a block of ";
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*provider, object, DbBuffer(7)); }),
            cannot + "7 bytes is shorter than its header of 8");
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*provider, object, std::move(cut)); }),
            cannot + "14 bytes has the dataSize 15");
  EXPECT_EQ(TextThrownBy([&] { Query(Descriptor({})); }), "The descriptor's path is empty");
}

TEST_F(FeedTest, FailsInEachOperationAsThePathSays) {
  const std::pair<std::string, std::string> failures[] = {
      {"code:-2147483648", "feed-test: failure requested by the path: result -2147483648"},
      {"text:no: a=b, \n\xE6\x97\xA5", "no: a=b, <U+000A>\xE6\x97\xA5"},
      {"unknown", "(no std::exception)"}};
  for (const auto& [failure, text] : failures) {
    const Descriptor all =
        Named("fail:getkey=" + failure + ";query=filled," + failure + ";write=" + failure);
    std::uint64_t key = 0;
    DbBuffer block;
    EXPECT_EQ(TextThrownBy([&] { provider->GetKey(all.Get(), &key); }), text);
    EXPECT_EQ(TextThrownBy([&] { provider->Write(all.Get(), &key, &block); }), text);
    EXPECT_EQ(TextThrownBy([&] { provider->Query(all.Get(), 0, &key, &block); }), text);
    EXPECT_EQ(PayloadOf(block), "") << "filled with a bare header, as nothing was written";
    const Descriptor freeing = Named("C:\\any\\fail:freequery=" + failure);
    Write(freeing, failure);
    block = QueryOf(*provider, freeing);
    Write(object, "good");
    EXPECT_EQ(Query(object), "good") << "freed as its own path says";
    EXPECT_EQ(TextThrownBy([&] { FreeQueryOf(*provider, block); }), text);
    EXPECT_NE(block.data, nullptr) << "the host frees it";
  }
  const Descriptor empty = Named("fail:query=empty");
  Write(empty, "written all the same");
  EXPECT_EQ(Query(empty), "(no data)");
}

TEST_F(FeedTest, DoesNotMistakeANewBlockForALostOneAtItsAddress) {
  const Descriptor failing = Named("fail:freequery=unknown");
  Write(failing, "payload");
  Write(object, "payload");
  const auto queryMany = [this](const Descriptor& descriptor) {
    std::vector<DbBuffer> blocks(50);
    for (DbBuffer& block : blocks) block = QueryOf(*provider, descriptor);
    return blocks;
  };
  queryMany(failing).clear();  // freed by the host; the allocator may reuse the memory at once
  for (DbBuffer& good : queryMany(object)) EXPECT_NO_THROW(FreeQueryOf(*provider, good));
}

TEST_F(FeedTest, ReportsAMalformedScriptAndTheReason) {
  const std::pair<std::string, std::string> malformed[] = {
      {"fail:query=unknown;", "no outcome in the step \"\""},
      {"fail:Query=unknown", "unknown operation \"Query\""},
      {"fail:query=unknown ", "unknown outcome \"unknown \""},
      {"fail:query=filled,empty", "unknown outcome \"empty\""},
      {"fail:write=empty", "unknown outcome \"empty\""},
      {"fail:getkey=filled,unknown", "unknown outcome \"filled,unknown\""},
      {"fail:query=code:1x", "not a signed 32-bit decimal number: \"1x\""},
      {"fail:query=code:2147483648", "not a signed 32-bit decimal number: \"2147483648\""},
      {"fail:query=empty;query=unknown", "more than one step for \"query\""}};
  for (const auto& [script, reason] : malformed) {
    const Descriptor named = Named("C:\\x\\" + script);
    EXPECT_EQ(TextThrownBy([&] { KeyOf(*provider, named); }),
              "feed-test: malformed script \"" + script + "\": " + reason);
  }
  for (const char* const path : {"fail:query=unknown\\object", "C:\\not fail:query=unknown"}) {
    EXPECT_EQ(Query(Named(path)), "(no data)") << path << " has no script";
  }
}

TEST(ModulesTest, UnloadWithoutATraceWhenTheirObjectsAreGone) {
  const ProviderMachine machine;
  machine.SetText(kFeedFileKey, LARDER_WIDE("szDLL"), LARDER_WIDE("feed-file.dll"));
  std::vector<WideString> paths;
  for (const WideView name :
       {LARDER_WIDE("feed-file.dll"), LARDER_WIDE("feed-test.dll"), LARDER_WIDE("feed-stats.dll"),
        LARDER_WIDE("fixtures\\guide-provider.dll")}) {
    paths.push_back(machine.AddModule(name));
  }
  for (int life = 0; life < 10; ++life) {
    std::int32_t type = 0;
    std::deque<ProviderModule> modules;
    for (const WideString& path : paths) {
      const ProviderModule& module = modules.emplace_back(path);
      EXPECT_EQ(module->GetType(), ++type);
      DbBuffer block = QueryOf(*module, Descriptor(path));
      if (block.data != nullptr) FreeQueryOf(*module, block);
      EXPECT_EQ(block.data, nullptr);
    }
    modules.clear();
    for (const WideString& path : paths) EXPECT_FALSE(IsModuleLoaded(PathOf(path))) << life;
  }
}

TEST(GuideProvider, ReturnsTheLengthOfThePathAndStoresNothing) {
  const ProviderModule module(BesideProgram(LARDER_WIDE("fixtures\\guide-provider.dll")));
  const Descriptor seven(LARDER_WIDE("C:\\seven."));
  EXPECT_EQ(PayloadOf(QueryOf(*module, seven)), std::string("\x09\0\0\0", 4));
  EXPECT_EQ(QueryOf(*module, Descriptor({})).data, nullptr);
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*module, seven, BlockOf("x")); }),
            "The length of a path can't be set");
}

TEST(FeedStats, LosesNoCallOfTheEightThreadsThatUseAnObject) {
  constexpr std::uint64_t kRounds = 500;
  const ProviderMachine machine;
  const WideString path = BesideProgram(LARDER_WIDE("feed-stats.dll"));
  const ProviderModule provider(path);
  const Descriptor any(LARDER_WIDE("any"));
  const auto query = [&] {
    DbBuffer block = QueryOf(*provider, any);
    const auto record = RecordIn<FeedStatsRecord>(block);
    FreeQueryOf(*provider, block);
    return record;
  };
  const std::uint64_t since = query().since;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (std::uint64_t round = 0; round < kRounds; ++round) {
        WriteTo(*provider, any, BlockOf("12"));
        WriteTo(*provider, any, DbBuffer());
        EXPECT_GT(query().queryCalls, round);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const FeedStatsRecord record = query();
  EXPECT_EQ(record.dataSize, sizeof record);
  EXPECT_EQ(record.providerType, 3);
  EXPECT_EQ(record.getKeyCalls, 3 * 8 * kRounds + 2) << "the call that returns it is counted";
  EXPECT_EQ(record.queryCalls, 8 * kRounds + 2);
  EXPECT_EQ(record.freeQueryCalls, 8 * kRounds + 1);
  EXPECT_EQ(record.writeCalls, 2 * 8 * kRounds);
  EXPECT_EQ(record.bytesWritten, 10 * 8 * kRounds);
  EXPECT_EQ(record.storeSince, 0u) << "there is no file provider in this process";
  EXPECT_EQ(record.since, since);
  EXPECT_NEAR(static_cast<double>(since), 160e15, 28e15) << "between 2020 and 2200";
  EXPECT_EQ(RecordIn<FeedStatsRecord>(QueryOf(*ProviderModule(path), any)).queryCalls, 1u);
}

}  // namespace
}  // namespace larder
