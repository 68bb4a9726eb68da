#include "platform/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "platform/registry-key.h"

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
  ASSERT_EQ(RemoveTree("Key"), kSuccess);
  for (const char* path : {"Key", "Software\\Maker\\"}) {
    EXPECT_EQ(RemoveTree(path), kFileNotFound) << path;
    EXPECT_EQ(key.Open(path), kFileNotFound) << path;
    EXPECT_EQ(key.Raw(), nullptr) << path;
  }
}

TEST_F(RegistryTest, MakingAKeyMakesTheMissingLevelsAboveItAndKeepsExistingOnes) {
  ASSERT_EQ(key.Make("Software\\Maker\\One"), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\Two\\"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\One"), kSuccess);
  EXPECT_EQ(key.Get("value"), "data");
  ASSERT_EQ(key.Open("Software\\Maker\\\\", kKeyAllAccess), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("One", "Two"));
  EXPECT_EQ(key.RemoveKey("Two\\"), kSuccess);
  EXPECT_EQ(RemoveTree("Software\\Maker\\"), kSuccess);
  EXPECT_EQ(key.Open("Software\\Maker"), kFileNotFound);
}

TEST_F(RegistryTest, NamesAreFoundWithoutCaseAndKeepTheirSpelling) {
  ASSERT_EQ(key.Make("Software\\Mäker\\Яблоко"), kSuccess);
  ASSERT_EQ(key.Set("szÄpfel", "old"), kSuccess);
  EXPECT_EQ(key.Open("SOFTWARE\\mÄKER\\яБЛОКО", kKeyAllAccess), kSuccess);
  ASSERT_EQ(key.Set("SZäPFEL", "new", kRegSz), kSuccess);
  ASSERT_EQ(key.Make("software\\MÄKER\\ЯБЛОКО"), kSuccess);
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
  const struct {
    std::uint32_t access;
    std::vector<std::string> results;
  } cases[] = {{kKeyQueryValue, {"data", "code 5", "value", "code 5", "code 5", "code 0"}},
               {kKeySetValue, {"code 5", "code 0", "code 5", "code 5", "code 0", "code 0"}},
               {kKeyEnumerateSubKeys, {"code 5", "code 5", "code 5", "Sub", "code 5", "code 0"}}};
  for (const auto& c : cases) {
    ASSERT_EQ(key.Set("value", "data"), kSuccess);
    ASSERT_EQ(Key().Make("Key\\Sub"), kSuccess);
    Key restricted;
    ASSERT_EQ(restricted.Open("Key", c.access), kSuccess);
    EXPECT_EQ(results(restricted), c.results) << c.access;
  }
  EXPECT_THAT(results(Key()), Each("code 6"));
  ASSERT_EQ(RemoveTree("Key"), kSuccess);
  EXPECT_THAT(results(key), Each(AnyOf("code 2", "code 1018")));
}

TEST_F(RegistryTest, SubkeysAreListedByNameWithoutCase) {
  const std::string longest(255, 'n');
  for (const char* name : {"delta", "Charlie", "bravo", "ALPHA", "Bravo2", longest.c_str()})
    ASSERT_EQ(Key().Make(std::string("Key\\") + name + "\\Sub"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("ALPHA", "bravo", "Bravo2", "Charlie", "delta", longest));
  EXPECT_THAT(key.Values(), IsEmpty());
  std::array<LarderWideChar, 6> name;
  for (std::uint32_t capacity : {5u, 6u}) {
    std::uint32_t length = capacity;  // "ALPHA" needs a unit for its terminator
    EXPECT_EQ(RegistrySubkeyName(key.Raw(), 0, name.data(), length),
              capacity == 5 ? kMoreData : kSuccess);
    EXPECT_EQ(length, 5u);
  }
}

TEST_F(RegistryTest, NamesMayHaveAnyCharacters) {
  const std::vector<std::string> names = {
      "a",      "a.value", "%41",   ".",    "..",    ".tmp-1", "with/slash",   "50%",
      "b\x01c", " a ",     "tab\t", "dot.", "a.b.c", "\x7F",   "\xED\xA0\x80", "\xF0\x9F\x98\x80"};
  Key sub;
  for (const std::string& name : names) {
    EXPECT_EQ(sub.Make("Key\\" + name), kSuccess) << name;
    EXPECT_EQ(sub.Set("", name), kSuccess) << name;
    EXPECT_EQ(key.Set(name, name + "!"), kSuccess) << name;
  }
  EXPECT_THAT(key.Subkeys(), UnorderedElementsAreArray(names));
  EXPECT_THAT(key.Values(), UnorderedElementsAreArray(names));
  for (const std::string& name : names) {
    EXPECT_EQ(sub.Open("Key\\" + name), kSuccess) << name;
    EXPECT_EQ(sub.Get(""), name);
    EXPECT_THAT(sub.Values(), ElementsAre(""));
    EXPECT_EQ(key.Get(name), name + "!");
    EXPECT_EQ(key.Remove(name), kSuccess) << name;
    EXPECT_EQ(key.RemoveKey(name), kSuccess) << name;
  }
}

TEST_F(RegistryTest, AKeyWithSubkeysIsRemovedOnlyAsATree) {
  for (const char* path : {"Key\\A\\B\\C", "Key\\A\\Other", "Key\\A", "Key\\Beside"}) {
    Key made;
    ASSERT_EQ(made.Make(path), kSuccess);
    ASSERT_EQ(made.Set("value", path), kSuccess);
  }
  EXPECT_EQ(key.RemoveKey("A"), kAccessDenied);
  Key full;
  ASSERT_EQ(full.Open("Key\\A"), kSuccess);
  EXPECT_EQ(full.Get("value"), "Key\\A");
  EXPECT_EQ(key.RemoveKey("A\\oTHER"), kSuccess);
  EXPECT_THAT(full.Subkeys(), ElementsAre("B"));
  EXPECT_EQ(RemoveTree("Key\\A"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Beside"));
  ASSERT_EQ(full.Open("Key\\Beside"), kSuccess);
  EXPECT_EQ(full.Get("value"), "Key\\Beside");
}

// A block whose every byte is its length.
std::string Block(std::size_t size) { return std::string(size, static_cast<char>(size)); }

TEST_F(RegistryTest, ThreadsMakeOneTreeAtOnceAndReadOnlyWholeValues) {
  constexpr std::size_t kRounds = 40;
  // So many levels that all threads make some of them at the same moment.
  const auto path = [](std::size_t round) {
    std::string levels = "Made\\" + std::to_string(round);
    for (int level = 0; level < 30; ++level) levels += "\\Level";
    return levels;
  };
  ASSERT_EQ(key.Set("block", Block(1)), kSuccess);
  std::barrier start(4);  // of each round
  std::vector<std::jthread> threads;
  for (const std::size_t number : {1u, 2u, 3u, 4u}) {
    threads.emplace_back([&start, &path, number] {
      Key shared;
      EXPECT_EQ(shared.Make("Key"), kSuccess);
      for (std::size_t round = 0; round < kRounds; ++round) {
        Key made;
        start.arrive_and_wait();
        EXPECT_EQ(made.Make(path(round)), kSuccess);
        EXPECT_EQ(made.Set(std::to_string(number), "data"), kSuccess);
        EXPECT_EQ(shared.Set("block", Block(number * kRounds + round)), kSuccess);
        const std::string block = shared.Get("block");
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
