// The in-memory provider, as the built module.
#include <gtest/gtest.h>

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
    return payload;
  }

  void Write(const Descriptor& descriptor, std::string_view payload) {
    WriteTo(*provider, descriptor, BlockOf(payload));
  }

  ProviderModule provider{BesideProgram(LARDER_WIDE("feed-test.dll"))};
  const Descriptor object{LARDER_WIDE("C:\\some\\object")};
};

TEST_F(FeedTest, ReportsTypeTwo) { EXPECT_EQ(provider->GetType(), 2); }

TEST_F(FeedTest, GivesBackWhatWasWrittenAsABlockOfItsOwnType) {
  WriteTo(*provider, object, BlockOf("payload", 5));
  DbBuffer block = QueryOf(*provider, object);
  EXPECT_EQ(PayloadOf(block), "payload");
  EXPECT_EQ(HeaderOf(block).providerType, 2);
  EXPECT_EQ(HeaderOf(block).dataSize, 15u);
  EXPECT_EQ(block.size, 15u);
  FreeQueryOf(*provider, block);
  EXPECT_EQ(block.data, nullptr);
}

TEST_F(FeedTest, HasNoDataForAnUnknownObject) {
  EXPECT_EQ(QueryOf(*provider, object).data, nullptr);
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

TEST_F(FeedTest, TellsObjectsApartByPathAndByTime) {
  const LarderWideChar* const path = LARDER_WIDE("C:\\some\\object");
  Write(object, "no time");
  Write(Descriptor(path, 1), "time 1");
  Write(Descriptor(path, 1ull << 32), "time 2^32");
  Write(Descriptor(LARDER_WIDE("C:\\some\\Object")), "capital");
  EXPECT_EQ(Query(object), "no time");
  EXPECT_EQ(Query(Descriptor(path, 1)), "time 1");
  EXPECT_EQ(Query(Descriptor(path, 1ull << 32)), "time 2^32");
  EXPECT_EQ(Query(Descriptor(LARDER_WIDE("C:\\some\\Object"))), "capital");
}

TEST_F(FeedTest, DoesNotTakeAnEqualKeyForTheSameObject) {
  // Two times, found by search, whose bytes lead the hash to one value; with any path the keys
  // agree.
  const Descriptor first(LARDER_WIDE("C:\\some\\object"), 0x442A885CD399A8C0);
  const Descriptor second(LARDER_WIDE("C:\\some\\object"), 0xE25BACAA183E4A35);
  ASSERT_EQ(KeyOf(*provider, first), KeyOf(*provider, second));
  Write(first, "the first's");
  EXPECT_EQ(Query(second), "(no data)");
  Write(second, "the second's");
  EXPECT_EQ(Query(first), "the first's");
  EXPECT_EQ(Query(second), "the second's");
}

TEST_F(FeedTest, MakesItsKeyFromPathAndTime) {
  EXPECT_EQ(KeyOf(*provider, object), KeyOf(*provider, object));
  EXPECT_NE(KeyOf(*provider, object), KeyOf(*provider, Descriptor(LARDER_WIDE("C:\\some"))));
  EXPECT_NE(KeyOf(*provider, object),
            KeyOf(*provider, Descriptor(LARDER_WIDE("C:\\some\\object"), 1)));
  // FNV-1a over the bytes of the time 0 and of the unit 0x0061.
  EXPECT_EQ(KeyOf(*provider, Descriptor(LARDER_WIDE("a"))), 0x6962E1CC2097A744u);
}

TEST_F(FeedTest, ReplacesAnEarlierBlock) {
  Write(object, "the first and longer one");
  Write(object, "second");
  EXPECT_EQ(Query(object), "second");
}

TEST_F(FeedTest, ForgetsAnObjectThatAnEmptyBufferIsWrittenTo) {
  Write(object, "payload");
  WriteTo(*provider, object, DbBuffer());
  EXPECT_EQ(Query(object), "(no data)");
  EXPECT_NO_THROW(WriteTo(*provider, object, DbBuffer()));
}

TEST_F(FeedTest, TakesABlockThatIsABareHeader) {
  Write(object, "");
  EXPECT_EQ(Query(object), "");
}

TEST_F(FeedTest, RefusesABlockShorterThanItsHeader) {
  Write(object, "stays");
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*provider, object, DbBuffer(7)); }),
            "feed-test: can't write \"C:\\some\\object\": a block of 7 bytes is shorter than its "
            "header of 8");
  EXPECT_EQ(Query(object), "stays");
}

TEST_F(FeedTest, RefusesABlockWhoseHeaderTellsAnotherSize) {
  DbBuffer block = BlockOf("payload");
  block.size -= 1;
  EXPECT_EQ(TextThrownBy([&] { WriteTo(*provider, object, std::move(block)); }),
            "feed-test: can't write \"C:\\some\\object\": a block of 14 bytes says that it has 15");
}

TEST_F(FeedTest, RefusesAnEmptyPath) {
  EXPECT_EQ(TextThrownBy([&] { Query(Descriptor({})); }), "The descriptor's path is empty");
}

TEST_F(FeedTest, KeepsObjectsOfOddNames) {
  const WideString longPath(5000, u'x');
  const WideString lone = {0xD800, u'a'};
  const WideString other = {0xDC00, u'a'};
  Write(Descriptor(longPath), "long");
  Write(Descriptor(lone), "high");
  Write(Descriptor(other), "low");
  EXPECT_EQ(Query(Descriptor(longPath)), "long");
  EXPECT_EQ(Query(Descriptor(lone)), "high");
  EXPECT_EQ(Query(Descriptor(other)), "low");
}

struct CodeCase {
  const char* digits;
  std::int32_t code;
};

class FeedTestCodes : public FeedTest, public testing::WithParamInterface<CodeCase> {
 protected:
  static Descriptor Failing(const std::string& operation) {
    WideString path;
    EXPECT_TRUE(
        platform::WideFromUtf8("C:\\any\\fail:" + operation + "code:" + GetParam().digits, path));
    return Descriptor(path);
  }

  template <typename Call>
  static int CodeThrownBy(Call&& call) {
    try {
      call();
    } catch (const std::system_error& error) {
      EXPECT_EQ(error.what(), "feed-test: failure asked for by the path: result " +
                                  std::to_string(error.code().value()));
      return error.code().value();
    }
    ADD_FAILURE() << "no std::system_error";
    return 4711;
  }
};

TEST_P(FeedTestCodes, ComeOutOfEveryOperation) {
  const std::int32_t code = GetParam().code;
  EXPECT_EQ(CodeThrownBy([&] { KeyOf(*provider, Failing("getkey=")); }), code);
  EXPECT_EQ(CodeThrownBy([&] { QueryOf(*provider, Failing("query=")); }), code);
  EXPECT_EQ(CodeThrownBy([&] { WriteTo(*provider, Failing("write="), BlockOf("")); }), code);
  const Descriptor freeFails = Failing("freequery=");
  Write(freeFails, "");
  DbBuffer block = QueryOf(*provider, freeFails);
  EXPECT_EQ(CodeThrownBy([&] { FreeQueryOf(*provider, block); }), code);
  EXPECT_NE(block.data, nullptr) << "the host frees it";
}

INSTANTIATE_TEST_SUITE_P(All, FeedTestCodes,
                         testing::Values(CodeCase{"-15", -15}, CodeCase{"0", 0}, CodeCase{"7", 7},
                                         CodeCase{"2147483647", 2147483647},
                                         CodeCase{"-2147483648", -2147483647 - 1}));

TEST_F(FeedTest, ThrowsAnExceptionWithTheTextOfThePath) {
  const Descriptor failing(
      LARDER_WIDE("fail:getkey=text:no key: a=b, \u65E5;query=text:no block;write=text:"));
  std::uint64_t key = 0;
  DbBuffer block;
  EXPECT_EQ(TextThrownBy([&] { provider->GetKey(failing.Get(), &key); }),
            "no key: a=b, \xE6\x97\xA5");
  EXPECT_EQ(TextThrownBy([&] { provider->Query(failing.Get(), 0, &key, &block); }), "no block");
  EXPECT_EQ(TextThrownBy([&] { provider->Write(failing.Get(), &key, &block); }), "");
}

TEST_F(FeedTest, ThrowsWhatIsNoException) {
  const Descriptor failing(LARDER_WIDE("C:\\x\\fail:getkey=unknown;query=unknown;write=unknown"));
  std::uint64_t key = 0;
  DbBuffer block;
  EXPECT_THROW(provider->GetKey(failing.Get(), &key), int);
  EXPECT_THROW(provider->Query(failing.Get(), 0, &key, &block), int);
  EXPECT_THROW(provider->Write(failing.Get(), &key, &block), int);
}

TEST_F(FeedTest, LeavesTheBufferEmptyWhenAsked) {
  const Descriptor empty(LARDER_WIDE("fail:query=empty"));
  Write(empty, "written all the same");
  EXPECT_EQ(Query(empty), "(no data)");
}

TEST_F(FeedTest, FailsWithTheBufferFilledWhenAsked) {
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
  DbBuffer good = QueryOf(*provider, object);
  EXPECT_NO_THROW(FreeQueryOf(*provider, good));
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

struct Malformed {
  const LarderWideChar* script;
  const char* reason;
};

class FeedTestMalformed : public FeedTest, public testing::WithParamInterface<Malformed> {};

TEST_P(FeedTestMalformed, ScriptIsAnExceptionWithTheScriptAndTheReason) {
  const Descriptor descriptor(WideString(LARDER_WIDE("C:\\x\\")) + GetParam().script);
  const std::string expected = "feed-test: malformed script \"" +
                               platform::Utf8FromWide(GetParam().script) +
                               "\": " + GetParam().reason;
  std::uint64_t key = 0;
  DbBuffer block;
  EXPECT_EQ(TextThrownBy([&] { provider->GetKey(descriptor.Get(), &key); }), expected);
  EXPECT_EQ(TextThrownBy([&] { provider->Query(descriptor.Get(), 0, &key, &block); }), expected);
  EXPECT_EQ(TextThrownBy([&] { provider->Write(descriptor.Get(), &key, &block); }), expected);
}

INSTANTIATE_TEST_SUITE_P(
    All, FeedTestMalformed,
    testing::Values(
        Malformed{LARDER_WIDE("fail:"), "no outcome in the step \"\""},
        Malformed{LARDER_WIDE("fail:query"), "no outcome in the step \"query\""},
        Malformed{LARDER_WIDE("fail:query=unknown;"), "no outcome in the step \"\""},
        Malformed{LARDER_WIDE("fail:Query=unknown"), "unknown operation \"Query\""},
        Malformed{LARDER_WIDE("fail:gettype=unknown"), "unknown operation \"gettype\""},
        Malformed{LARDER_WIDE("fail:query="), "unknown outcome \"\""},
        Malformed{LARDER_WIDE("fail:query=boom"), "unknown outcome \"boom\""},
        Malformed{LARDER_WIDE("fail:query=unknown "), "unknown outcome \"unknown \""},
        Malformed{LARDER_WIDE("fail:query=filled"), "unknown outcome \"filled\""},
        Malformed{LARDER_WIDE("fail:query=filled,empty"), "unknown outcome \"empty\""},
        Malformed{LARDER_WIDE("fail:write=empty"), "unknown outcome \"empty\""},
        Malformed{LARDER_WIDE("fail:getkey=filled,unknown"), "unknown outcome \"filled,unknown\""},
        Malformed{LARDER_WIDE("fail:query=code:"), "not a signed 32-bit decimal number: \"\""},
        Malformed{LARDER_WIDE("fail:query=code:+1"), "not a signed 32-bit decimal number: \"+1\""},
        Malformed{LARDER_WIDE("fail:query=code:1x"), "not a signed 32-bit decimal number: \"1x\""},
        Malformed{LARDER_WIDE("fail:query=code:2147483648"),
                  "not a signed 32-bit decimal number: \"2147483648\""},
        Malformed{LARDER_WIDE("fail:query=empty;query=unknown"),
                  "more than one step for \"query\""}));

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
