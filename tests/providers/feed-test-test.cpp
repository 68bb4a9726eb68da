// The in-memory provider, as the built module.
#include <gtest/gtest.h>

#include <limits>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/utf.h"
#include "providers/provider-module.h"

namespace larder {
namespace {

class FeedTest : public testing::Test {
 protected:
  std::string Query(const Descriptor& descriptor) {
    DbBuffer block = QueryOf(*provider, descriptor);
    std::string payload = block.data == nullptr ? "(no data)" : PayloadOf(block);
    FreeQueryOf(*provider, block);
    EXPECT_EQ(block.data, nullptr);
    return payload;
  }

  void Write(const Descriptor& descriptor, std::string_view payload) {
    WriteTo(*provider, descriptor, BlockOf(payload));
  }

  ProviderModule provider{BesideProgram(LARDER_WIDE("feed-test.dll"))};
  const Descriptor object{LARDER_WIDE("C:\\some\\object")};
};

TEST_F(FeedTest, KeepsAnObjectsLastBlockUntilAnEmptyBufferIsWritten) {
  EXPECT_EQ(Query(object), "(no data)");
  WriteTo(*provider, object, BlockOf("the first and longer one", 5));
  EXPECT_EQ(HeaderOf(QueryOf(*provider, object)).providerType, 2);
  Write(object, "payload");
  const DbBuffer block = QueryOf(*provider, object);
  EXPECT_EQ(PayloadOf(block), "payload");
  EXPECT_EQ(HeaderOf(block).dataSize, 15u);
  EXPECT_EQ(block.size, 15u);
  Write(object, "");
  EXPECT_EQ(Query(object), "") << "a bare header";
  for (int time = 0; time < 2; ++time) {
    WriteTo(*provider, object, DbBuffer());
    EXPECT_EQ(Query(object), "(no data)");
  }
}

TEST_F(FeedTest, KeepsACopyThatAClientCannotReach) {
  DbBuffer mine = BlockOf("before");
  std::uint64_t key = KeyOf(*provider, object);
  provider->Write(object.Get(), &key, &mine);
  mine.data[sizeof(DataBlockHeader)] = 'X';
  DbBuffer block = QueryOf(*provider, object);
  block.data[sizeof(DataBlockHeader)] = 'Y';
  FreeQueryOf(*provider, block);
  EXPECT_EQ(Query(object), "before");
}

TEST_F(FeedTest, TellsObjectsApartByPathAndByTimeAndNotByTheKeyAlone) {
  const LarderWideChar* const path = LARDER_WIDE("C:\\some\\object");
  // FNV-1a over the bytes of the time 0 and of the unit 0x0061.
  EXPECT_EQ(KeyOf(*provider, Descriptor(LARDER_WIDE("a"))), 0x6962E1CC2097A744u);
  // Two times, found by search, whose bytes lead the hash to one value; with any path the keys
  // agree.
  const Descriptor objects[] = {object,
                                Descriptor(path, 1),
                                Descriptor(path, 1ull << 32),
                                Descriptor(LARDER_WIDE("C:\\some\\Object")),
                                Descriptor(WideString(5000, u'x')),
                                Descriptor(WideString{0xD800, u'a'}),
                                Descriptor(WideString{0xDC00, u'a'}),
                                Descriptor(path, 0x442A885CD399A8C0),
                                Descriptor(path, 0xE25BACAA183E4A35)};
  EXPECT_EQ(KeyOf(*provider, objects[7]), KeyOf(*provider, objects[8]));
  EXPECT_NE(KeyOf(*provider, objects[0]), KeyOf(*provider, objects[1]));
  for (std::size_t i = 0; i < std::size(objects); ++i) {
    EXPECT_EQ(Query(objects[i]), "(no data)") << i;
    Write(objects[i], std::to_string(i));
  }
  for (std::size_t i = 0; i < std::size(objects); ++i) {
    EXPECT_EQ(Query(objects[i]), std::to_string(i));
  }
}

TEST_F(FeedTest, RefusesBlocksOfTheWrongSizeAndAnEmptyPath) {
  Write(object, "stays");
  DbBuffer cut = BlockOf("payload");
  cut.size -= 1;
  const std::string cannot = "feed-test: can't write \"C:\\some\\object\": a block of ";
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*provider, object, DbBuffer(7)); }),
            cannot + "7 bytes is shorter than its header of 8");
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*provider, object, std::move(cut)); }),
            cannot + "14 bytes has the dataSize 15");
  EXPECT_EQ(Query(object), "stays");
  EXPECT_EQ(TextThrownBy([&] { Query(Descriptor({})); }), "The descriptor's path is empty");
}

template <typename Call>
std::int32_t CodeThrownBy(Call&& call) {
  try {
    call();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.what(), "feed-test: failure requested by the path: result " +
                                std::to_string(error.code().value()));
    return error.code().value();
  }
  ADD_FAILURE() << "no std::system_error";
  return 4711;
}

TEST_F(FeedTest, ThrowsTheCodeOfThePathInEachOperation) {
  for (const std::int32_t code : {-15, 0, 7, std::numeric_limits<std::int32_t>::max(),
                                  std::numeric_limits<std::int32_t>::min()}) {
    const auto failing = [&](const std::string& operation) {
      WideString path;
      const std::string script = "fail:" + operation + "=code:" + std::to_string(code);
      EXPECT_TRUE(platform::WideFromUtf8("C:\\any\\" + script, path));
      return Descriptor(path);
    };
    EXPECT_EQ(CodeThrownBy([&] { KeyOf(*provider, failing("getkey")); }), code);
    EXPECT_EQ(CodeThrownBy([&] { QueryOf(*provider, failing("query")); }), code);
    EXPECT_EQ(CodeThrownBy([&] { WriteTo(*provider, failing("write"), BlockOf("")); }), code);
    const Descriptor freeFails = failing("freequery");
    Write(freeFails, "");
    DbBuffer block = QueryOf(*provider, freeFails);
    EXPECT_EQ(CodeThrownBy([&] { FreeQueryOf(*provider, block); }), code);
    EXPECT_NE(block.data, nullptr) << "the host frees it";
  }
}

TEST_F(FeedTest, ThrowsTextsAndWhatIsNoExceptionInEachOperation) {
  const Descriptor text(
      LARDER_WIDE("fail:getkey=text:no key: a=b, \u65E5;query=text:no block;write=text:"));
  const Descriptor unknown(LARDER_WIDE("C:\\x\\fail:getkey=unknown;query=unknown;write=unknown"));
  std::uint64_t key = 0;
  DbBuffer block;
  EXPECT_EQ(TextThrownBy([&] { provider->GetKey(text.Get(), &key); }), "no key: a=b, \xE6\x97\xA5");
  EXPECT_EQ(TextThrownBy([&] { provider->Query(text.Get(), 0, &key, &block); }), "no block");
  EXPECT_EQ(TextThrownBy([&] { provider->Write(text.Get(), &key, &block); }), "");
  EXPECT_THROW(provider->GetKey(unknown.Get(), &key), int);
  EXPECT_THROW(provider->Query(unknown.Get(), 0, &key, &block), int);
  EXPECT_THROW(provider->Write(unknown.Get(), &key, &block), int);
}

TEST_F(FeedTest, LeavesTheBufferEmptyOrFilledWhenAsked) {
  const Descriptor empty(LARDER_WIDE("fail:query=empty"));
  Write(empty, "written all the same");
  EXPECT_EQ(Query(empty), "(no data)");
  const Descriptor failing(LARDER_WIDE("fail:query=filled,code:3"));
  const auto queryFilled = [&] {
    DbBuffer block;
    EXPECT_THROW(provider->Query(failing.Get(), 0, nullptr, &block), std::system_error);
    return PayloadOf(block);
  };
  EXPECT_EQ(queryFilled(), "") << "a bare header for what nobody wrote";
  Write(failing, "block");
  EXPECT_EQ(queryFilled(), "block");
}

TEST_F(FeedTest, LetsEachBlockRememberHowItsFreeingFails) {
  const Descriptor text(LARDER_WIDE("fail:freequery=text:can't free"));
  const Descriptor unknown(LARDER_WIDE("fail:freequery=unknown"));
  Write(text, "text");
  Write(unknown, "unknown");
  Write(object, "good");
  DbBuffer first = QueryOf(*provider, text);
  DbBuffer second = QueryOf(*provider, unknown);
  EXPECT_EQ(Query(object), "good");
  EXPECT_THROW(FreeQueryOf(*provider, second), int);
  EXPECT_EQ(TextThrownBy([&] { FreeQueryOf(*provider, first); }), "can't free");
}

TEST_F(FeedTest, DoesNotTakeANewBlockForALostOneAtItsAddress) {
  const Descriptor failing(LARDER_WIDE("fail:freequery=unknown"));
  Write(failing, "payload");
  Write(object, "payload");
  const auto queryMany = [this](const Descriptor& descriptor) {
    std::vector<DbBuffer> blocks(50);
    for (DbBuffer& block : blocks) block = QueryOf(*provider, descriptor);
    return blocks;
  };
  // Freed by the host without a word to the provider; the allocator may give out the same memory
  // again at once.
  queryMany(failing).clear();
  for (DbBuffer& good : queryMany(object)) EXPECT_NO_THROW(FreeQueryOf(*provider, good));
}

TEST_F(FeedTest, TellsAMalformedScriptAndTheReason) {
  const std::string number = "not a signed 32-bit decimal number: ";
  const std::vector<std::pair<std::string, std::string>> malformed = {
      {"fail:", "no outcome in the step \"\""},
      {"fail:query", "no outcome in the step \"query\""},
      {"fail:query=unknown;", "no outcome in the step \"\""},
      {"fail:Query=unknown", "unknown operation \"Query\""},
      {"fail:query=", "unknown outcome \"\""},
      {"fail:query=unknown ", "unknown outcome \"unknown \""},
      {"fail:query=filled", "unknown outcome \"filled\""},
      {"fail:query=filled,empty", "unknown outcome \"empty\""},
      {"fail:write=empty", "unknown outcome \"empty\""},
      {"fail:getkey=filled,unknown", "unknown outcome \"filled,unknown\""},
      {"fail:query=code:", number + "\"\""},
      {"fail:query=code:1x", number + "\"1x\""},
      {"fail:query=code:2147483648", number + "\"2147483648\""},
      {"fail:query=empty;query=unknown", "more than one step for \"query\""}};
  for (const auto& [script, reason] : malformed) {
    WideString path;
    EXPECT_TRUE(platform::WideFromUtf8("C:\\x\\" + script, path));
    EXPECT_EQ(TextThrownBy([&] { KeyOf(*provider, Descriptor(path)); }),
              "feed-test: malformed script \"" + script + "\": " + reason);
  }
}

TEST_F(FeedTest, TakesAScriptOnlyFromTheLastComponent) {
  const Descriptor inside(LARDER_WIDE("fail:query=unknown\\object"));
  const Descriptor behind(LARDER_WIDE("C:\\not fail:query=unknown"));
  Write(inside, "inside");
  Write(behind, "behind");
  EXPECT_EQ(Query(inside), "inside");
  EXPECT_EQ(Query(behind), "behind");
}

TEST_F(FeedTest, BearsEightThreadsOfWriteQueryAndFree) {
  std::vector<std::thread> threads;
  for (char name = 'a'; name < 'i'; ++name) {
    threads.emplace_back([this, name] {
      const Descriptor own(WideString{static_cast<LarderWideChar>(name)});
      const Descriptor shared(LARDER_WIDE("fail:freequery=unknown"));
      for (int i = 0; i < 200; ++i) {
        const std::string payload = name + std::to_string(i);
        Write(own, payload);
        Write(shared, payload);
        EXPECT_EQ(Query(own), payload);
        DbBuffer block = QueryOf(*provider, shared);
        EXPECT_FALSE(PayloadOf(block).empty());
        EXPECT_THROW(FreeQueryOf(*provider, block), int);
        WriteTo(*provider, own, DbBuffer());
        EXPECT_EQ(Query(own), "(no data)");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace larder
