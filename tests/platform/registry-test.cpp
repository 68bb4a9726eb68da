#include "platform/registry.h"

#include <gmock/gmock.h>

#include <barrier>
#include <thread>

#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

TEST_F(RegistryTest, MissingKeysAndValuesAreNotFoundAndTheEmptyPathIsNotRemoved) {
  for (const char* path : {"", "\\", "\\\\"}) {
    EXPECT_EQ(RemoveTree(path), kInvalidParameter);
    EXPECT_EQ(key.RemoveKey(path), kInvalidParameter);
  }
  EXPECT_EQ(key.Get("value"), "code 2");
  EXPECT_EQ(key.Remove("value"), kFileNotFound);
  EXPECT_EQ(key.RemoveKey("Sub"), kFileNotFound);
  for (const char* path : {"None", "Software\\Maker\\"}) {
    EXPECT_EQ(RemoveTree(path), kFileNotFound) << path;
    EXPECT_EQ(key.Open(path), kFileNotFound) << path;
    EXPECT_EQ(key.Raw(), nullptr) << path;
  }
}

TEST_F(RegistryTest, NamesAreFoundWithoutCaseAndKeepTheirSpelling) {
  ASSERT_EQ(key.Make("Software\\Mäker\\Яблоко"), kSuccess);
  ASSERT_EQ(key.Set("szÄpfel", "old"), kSuccess);
  EXPECT_EQ(key.Open("SOFTWARE\\mÄKER\\яБЛОКО", kKeyAllAccess), kSuccess);
  ASSERT_EQ(key.Set("SZäPFEL", "new", kRegSz), kSuccess);
  ASSERT_EQ(key.Make("software\\MÄKER\\\\ЯБЛОКО\\"), kSuccess);
  EXPECT_EQ(key.Get("SzäpfeL"), "new");
  EXPECT_THAT(key.Values(), ElementsAre("szÄpfel"));
  EXPECT_EQ(key.Remove("SZÄPFEL"), kSuccess);
  EXPECT_THAT(key.Values(), IsEmpty());
  ASSERT_EQ(key.Open("software"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Mäker"));
  EXPECT_EQ(RemoveTree("SOFTWARE\\mäker"), kSuccess);
  EXPECT_THAT(key.Subkeys(), IsEmpty());
}

TEST_F(RegistryTest, AQueryReportsTypeAndSizeAndNeverWritesBeyondItsBuffer) {
  ASSERT_EQ(key.Set("value", "0123456789", kRegExpandSz), kSuccess);
  for (const std::uint32_t capacity : {0u, 9u, 10u, 11u}) {
    SCOPED_TRACE(capacity);
    std::string data(12, '#');
    std::uint32_t type = 0;
    std::uint32_t size = capacity;
    EXPECT_EQ(QueryRegistryValue(key.Raw(), Wide("value"), type, data.data(), size),
              capacity < 10 ? kMoreData : kSuccess);
    EXPECT_EQ(type, kRegExpandSz);
    EXPECT_EQ(size, 10u);
    EXPECT_TRUE(data.ends_with(capacity < 10 ? "###" : "0123456789##")) << data;
    size = capacity;
    EXPECT_EQ(QueryRegistryValue(key.Raw(), Wide("value"), type, nullptr, size), kSuccess);
    EXPECT_EQ(size, 10u);
  }
  ASSERT_EQ(SetRegistryValue(key.Raw(), Wide("value"), kRegBinary, nullptr, 0), kSuccess);
  EXPECT_EQ(key.Get("value"), "");
}

TEST_F(RegistryTest, AnOperationNeedsAKeyThatExistsAndWasOpenedForIt) {
  const auto results = [](const Key& on) -> std::vector<std::string> {
    const auto text = [](Code code) { return "code " + std::to_string(code); };
    return {on.Get("value"),    text(on.Set("value", "data")), on.Values().at(0),
            on.Subkeys().at(0), text(on.Remove("value")),      text(on.RemoveKey("Sub"))};
  };
  const std::pair<std::uint32_t, std::vector<std::string>> cases[] = {
      {kKeyQueryValue, {"data", "code 5", "value", "code 5", "code 5", "code 0"}},
      {kKeySetValue, {"code 5", "code 0", "code 5", "code 5", "code 0", "code 0"}},
      {kKeyEnumerateSubKeys, {"code 5", "code 5", "code 5", "Sub", "code 5", "code 0"}}};
  for (const auto& [access, expected] : cases) {
    ASSERT_EQ(key.Set("value", "data"), kSuccess);
    ASSERT_EQ(Key().Make("Key\\Sub"), kSuccess);
    Key restricted;
    ASSERT_EQ(restricted.Open("Key", access), kSuccess);
    EXPECT_EQ(results(restricted), expected) << access;
  }
  EXPECT_THAT(results(Key()), Each("code 6"));
  ASSERT_EQ(RemoveTree("Key"), kSuccess);
  EXPECT_THAT(results(key), Each(AnyOf("code 2", "code 1018")));
}

TEST_F(RegistryTest, SubkeysAreListedByNameWithoutCase) {
  const std::string longest(255, 'n');
  for (const std::string name : {"delta", "Charlie", "bravo", "ALPHA", "Bravo2", longest.c_str()})
    ASSERT_EQ(Key().Make("Key\\" + name + "\\Sub"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("ALPHA", "bravo", "Bravo2", "Charlie", "delta", longest));
  std::array<LarderWideChar, 6> name;
  for (const std::uint32_t capacity : {5u, 6u}) {
    std::uint32_t length = capacity;  // "ALPHA" needs a unit for its terminator
    EXPECT_EQ(RegistrySubkeyName(key.Raw(), 0, name.data(), length),
              capacity == 5 ? kMoreData : kSuccess);
    EXPECT_EQ(length, 5u);
  }
}

TEST_F(RegistryTest, AnEnumerationSeesTheChangesThatAreMadeMeanwhile) {
  const auto nameAt = [this](std::uint32_t index) {
    LarderWideChar name[8] = {};
    std::uint32_t length = 8;
    const Code code = RegistrySubkeyName(key.Raw(), index, name, length);
    return code == kSuccess ? WideString(name) : Wide(std::to_string(code));
  };
  for (const std::string name : {"a", "c"}) ASSERT_EQ(Key().Make("Key\\" + name), kSuccess);
  EXPECT_EQ(nameAt(0), Wide("a"));
  ASSERT_EQ(Key().Make("Key\\b"), kSuccess);
  EXPECT_EQ(nameAt(1), Wide("b"));
  ASSERT_EQ(RemoveTree("Key\\c"), kSuccess);
  EXPECT_EQ(nameAt(2), Wide("259"));
}

TEST_F(RegistryTest, NamesMayHaveAnyCharacters) {
  const std::vector<std::string> all = {
      "a",      "a.value", "%41",   ".",    "..",    ".tmp-1", "with/slash",   "50%",
      "b\x01c", " a ",     "tab\t", "dot.", "a.b.c", "\x7F",   "\xED\xA0\x80", "\xF0\x9F\x98\x80"};
  for (const std::string& name : all) {
    Key sub;
    EXPECT_EQ(sub.Make("Key\\" + name), kSuccess) << name;
    EXPECT_EQ(sub.Set("", name), kSuccess) << name;
    EXPECT_EQ(key.Set(name, name), kSuccess) << name;
  }
  EXPECT_THAT(key.Subkeys(), UnorderedElementsAreArray(all));
  EXPECT_THAT(key.Values(), UnorderedElementsAreArray(all));
  for (const std::string& name : all) {
    Key sub;
    EXPECT_EQ(sub.Open("Key\\" + name), kSuccess) << name;
    EXPECT_EQ(sub.Get(""), name);
    EXPECT_EQ(key.Get(name), name);
    EXPECT_EQ(key.Remove(name), kSuccess) << name;
    EXPECT_EQ(key.RemoveKey(name), kSuccess) << name;
  }
}

TEST_F(RegistryTest, AKeyWithSubkeysIsRemovedOnlyAsATree) {
  for (const char* path : {"Key\\A\\B\\C", "Key\\A\\Other", "Key\\A", "Key\\Beside"}) {
    Key sub;
    ASSERT_EQ(sub.Make(path), kSuccess);
    ASSERT_EQ(sub.Set("value", path), kSuccess);
  }
  EXPECT_EQ(key.RemoveKey("A"), kAccessDenied);
  Key full;
  ASSERT_EQ(full.Open("Key\\A"), kSuccess);
  EXPECT_EQ(full.Get("value"), "Key\\A");
  EXPECT_EQ(key.RemoveKey("A\\oTHER\\"), kSuccess);
  EXPECT_THAT(full.Subkeys(), ElementsAre("B"));
  EXPECT_EQ(RemoveTree("Key\\A\\"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Beside"));
}

// A block whose every byte is its length.
std::string Block(std::size_t size) { return std::string(size, static_cast<char>(size)); }

TEST_F(RegistryTest, ThreadsMakeOneTreeAtOnceAndReadOnlyWholeValues) {
  constexpr std::size_t kRounds = 40;
  // So many levels that all threads make some of them at the same moment.
  std::string levels;
  for (int level = 0; level < 30; ++level) levels += "\\Level";
  const auto path = [&](std::size_t round) { return "Made\\" + std::to_string(round) + levels; };
  ASSERT_EQ(key.Set("block", Block(1)), kSuccess);
  std::barrier start(4);  // of each round
  std::vector<std::jthread> threads;
  for (const std::size_t number : {1u, 2u, 3u, 4u}) {
    threads.emplace_back([&, number] {
      for (std::size_t round = 0; round < kRounds; ++round) {
        Key level;
        start.arrive_and_wait();
        EXPECT_EQ(level.Make(path(round)), kSuccess);
        EXPECT_EQ(level.Set(std::to_string(number), "data"), kSuccess);
        EXPECT_EQ(key.Set("block", Block(number * kRounds + round)), kSuccess);
        const std::string block = key.Get("block");
        EXPECT_EQ(block, Block(block.size()));
      }
    });
  }
  threads.clear();
  EXPECT_THAT(key.Values(), ElementsAre("block"));
  for (std::size_t round = 0; round < kRounds; ++round) {
    ASSERT_EQ(key.Open(path(round)), kSuccess);
    EXPECT_THAT(key.Values(), UnorderedElementsAre("1", "2", "3", "4"));
  }
}

}  // namespace
}  // namespace larder::platform
