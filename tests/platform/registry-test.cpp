#include "platform/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
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

TEST_F(RegistryTest, WhatIsMissingIsNotFound) {
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

TEST_F(RegistryTest, MakingAKeyMakesTheMissingLevelsAboveItAndKeepsWhatIsThere) {
  ASSERT_EQ(key.Make("Software\\Maker\\One"), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\Two"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\One"), kSuccess);
  EXPECT_EQ(key.Get("value"), "data");
  ASSERT_EQ(key.Open("Software\\Maker"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("One", "Two"));
}

TEST_F(RegistryTest, ABackslashAtTheEndOfAPathAddsNothing) {
  ASSERT_EQ(key.Make("Software\\Maker\\"), kSuccess);
  EXPECT_EQ(key.Open("Software\\Maker"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\Sub"), kSuccess);
  ASSERT_EQ(key.Open("Software\\Maker\\\\", kKeyAllAccess), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Sub"));
  EXPECT_EQ(key.RemoveKey("Sub\\"), kSuccess);
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

TEST_F(RegistryTest, TooLittleRoomTellsTypeAndSizeAndWritesNothingBehindIt) {
  ASSERT_EQ(key.Set("value", "0123456789", kRegExpandSz), kSuccess);
  std::array<char, 12> data;
  data.fill('#');
  std::uint32_t type = 0;
  std::uint32_t size = 9;
  EXPECT_EQ(QueryRegistryValue(key.Raw(), Wide("value"), type, data.data(), size), kMoreData);
  EXPECT_EQ(type, kRegExpandSz);
  EXPECT_EQ(size, 10u);
  EXPECT_THAT(std::string(data.begin() + 9, data.end()), Each('#'));
  EXPECT_EQ(QueryRegistryValue(key.Raw(), Wide("value"), type, data.data(), size), kSuccess);
  EXPECT_EQ(std::string(data.begin(), data.end()), "0123456789##");
}

TEST_F(RegistryTest, AQueryWithoutABufferTellsTypeAndSizeAndDataMayBeNone) {
  ASSERT_EQ(key.Set("value", "0123456789", kRegSz), kSuccess);
  for (const std::uint32_t room : {0u, 5u, 100u}) {
    std::uint32_t type = 0;
    std::uint32_t size = room;
    EXPECT_EQ(QueryRegistryValue(key.Raw(), Wide("value"), type, nullptr, size), kSuccess);
    EXPECT_EQ(type, kRegSz);
    EXPECT_EQ(size, 10u);
  }
  ASSERT_EQ(SetRegistryValue(key.Raw(), Wide("value"), kRegBinary, nullptr, 0), kSuccess);
  EXPECT_EQ(key.Get("value"), "");
}

TEST_F(RegistryTest, AnOperationBeyondTheAccessAskedForIsDenied) {
  ASSERT_EQ(key.Make("Key\\Sub"), kSuccess);
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(key.Open("Key", kKeyQueryValue), kSuccess);
  EXPECT_EQ(key.Get("value"), "data");
  EXPECT_EQ(key.Set("value", "other"), kAccessDenied);
  EXPECT_EQ(key.Remove("value"), kAccessDenied);
  EXPECT_THAT(key.Subkeys(), ElementsAre("code 5"));
  ASSERT_EQ(key.Open("Key", kKeyEnumerateSubKeys), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Sub"));
  EXPECT_THAT(key.Values(), ElementsAre("code 5"));
  ASSERT_EQ(key.Open("Key", kKeySetValue), kSuccess);
  EXPECT_EQ(key.Get("value"), "code 5");
  EXPECT_EQ(key.Set("value", "other"), kSuccess);
  ASSERT_EQ(key.Open("Key", kKeyAllAccess), kSuccess);
  EXPECT_EQ(key.Get("value"), "other");
  EXPECT_THAT(key.Subkeys(), ElementsAre("Sub"));
}

TEST_F(RegistryTest, OperationsOnANullKeyAreRefused) {
  const Key none;
  EXPECT_EQ(none.Get("value"), "code 6");
  EXPECT_EQ(none.Set("value", "data"), kInvalidHandle);
  EXPECT_EQ(none.Remove("value"), kInvalidHandle);
  EXPECT_THAT(none.Subkeys(), ElementsAre("code 6"));
  EXPECT_THAT(none.Values(), ElementsAre("code 6"));
  EXPECT_EQ(none.RemoveKey("Key"), kInvalidHandle);
}

TEST_F(RegistryTest, SubkeysAreListedByNameWithoutCase) {
  const std::string longest(255, 'n');
  for (const char* name : {"delta", "Charlie", "bravo", "ALPHA", "Bravo2", longest.c_str()})
    ASSERT_EQ(key.Make(std::string("Key\\") + name + "\\Sub"), kSuccess);
  ASSERT_EQ(key.Open("Key"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("ALPHA", "bravo", "Bravo2", "Charlie", "delta", longest));
  EXPECT_THAT(key.Values(), IsEmpty());
}

TEST_F(RegistryTest, ANameIsGivenOnlyWhenItsTerminatorFitsToo) {
  ASSERT_EQ(key.Make("Key\\Subkey"), kSuccess);
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(key.Set("Values", "data"), kSuccess);
  std::array<LarderWideChar, 7> name;
  for (const auto list : {RegistrySubkeyName, RegistryValueName}) {
    std::uint32_t length = 6;
    EXPECT_EQ(list(key.Raw(), 0, name.data(), length), kMoreData);
    length = 7;
    EXPECT_EQ(list(key.Raw(), 0, name.data(), length), kSuccess);
    EXPECT_EQ(length, 6u);
    EXPECT_EQ(list(key.Raw(), 1, name.data(), length), kNoMoreItems);
  }
}

TEST_F(RegistryTest, AnyCharactersMayStandInNames) {
  const std::vector<std::string> names = {"a",      "a.value", "%41",          ".",
                                          "..",     ".tmp-1",  "with/slash",   "50%",
                                          "b\x01c", "tab\t",   "\xED\xA0\x80", "\xF0\x9F\x98\x80",
                                          " a ",    "\x7F",    "dot.",         "a.b.c"};
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

TEST_F(RegistryTest, NamesWithANulAreRefused) {
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  const std::string cut("value\0s", 7);
  EXPECT_EQ(key.Get(cut), "code 87");
  EXPECT_EQ(key.Set(cut, "other"), kInvalidParameter);
  EXPECT_EQ(key.Remove(cut), kInvalidParameter);
  const std::string cutKey("Key\0s", 5);
  EXPECT_EQ(RemoveTree(cutKey), kInvalidParameter);
  EXPECT_EQ(Key().Open(cutKey), kInvalidParameter);
  EXPECT_EQ(Key().Make(cutKey), kInvalidParameter);
  EXPECT_EQ(key.Get("value"), "data");
}

TEST_F(RegistryTest, RemovingATreeTakesTheKeyAndAllBelowIt) {
  for (const char* path : {"Key\\A\\B\\C", "Key\\A\\Other", "Key\\Beside"}) {
    ASSERT_EQ(key.Make(path), kSuccess);
    ASSERT_EQ(key.Set("value", "data"), kSuccess);
  }
  EXPECT_EQ(RemoveTree("Key\\A"), kSuccess);
  EXPECT_EQ(key.Get("value"), "data");
  ASSERT_EQ(key.Open("Key"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Beside"));
}

TEST_F(RegistryTest, AKeyWithSubkeysIsRemovedOnlyAsATree) {
  Key full;
  ASSERT_EQ(full.Make("Key\\Full\\Sub"), kSuccess);
  ASSERT_EQ(full.Make("Key\\Full"), kSuccess);
  ASSERT_EQ(full.Set("value", "data"), kSuccess);
  EXPECT_EQ(key.RemoveKey("Full"), kAccessDenied);
  EXPECT_EQ(full.Get("value"), "data");
  EXPECT_EQ(key.RemoveKey("Full\\Sub"), kSuccess);
  EXPECT_EQ(key.RemoveKey("fULL"), kSuccess);
  EXPECT_THAT(key.Subkeys(), IsEmpty());
}

TEST_F(RegistryTest, NoRemovalTakesTheEmptyPathForTheWhole) {
  for (const char* path : {"", "\\", "\\\\"}) {
    EXPECT_EQ(RemoveTree(path), kInvalidParameter);
    EXPECT_EQ(key.RemoveKey(path), kInvalidParameter);
  }
  EXPECT_EQ(key.Open("Key"), kSuccess);
}

TEST_F(RegistryTest, AKeyThatIsDeletedWhileItIsOpenOnlyGivesErrors) {
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(RemoveTree("Key"), kSuccess);
  const auto isGone = AnyOf(kFileNotFound, kKeyDeleted);
  EXPECT_THAT(key.Set("value", "data"), isGone);
  EXPECT_THAT(key.Remove("value"), isGone);
  EXPECT_THAT(key.Get("value"), AnyOf("code 2", "code 1018"));
  EXPECT_THAT(key.Subkeys(), ElementsAre(AnyOf("code 2", "code 1018")));
  EXPECT_THAT(key.Values(), ElementsAre(AnyOf("code 2", "code 1018")));
  EXPECT_THAT(key.RemoveKey("Sub"), isGone);
}

// A block whose every byte tells its length.
std::string Block(std::size_t size) { return std::string(size, static_cast<char>(size)); }

void WriteBlocks(std::size_t first) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  for (std::size_t i = 0; i < 100; ++i) ASSERT_EQ(key.Set("value", Block(first + i)), kSuccess);
}

void ReadBlocks(const std::atomic<int>& writers, std::atomic<int>& blocks) {
  Key key;
  ASSERT_EQ(key.Open("Key"), kSuccess);
  do {
    const std::string block = key.Get("value");
    ASSERT_EQ(block, Block(block.size()));
    ++blocks;
  } while (writers > 0);
}

TEST_F(RegistryTest, ThreadsThatReadAValueSeeWholeValuesOnlyWhileOthersWriteIt) {
  ASSERT_EQ(key.Set("value", Block(1)), kSuccess);
  std::atomic<int> writers{3};
  std::atomic<int> blocks{0};
  std::vector<std::thread> threads;
  for (const std::size_t first : {1u, 50u, 100u}) {
    threads.emplace_back([first, &writers] {
      WriteBlocks(first);
      --writers;
    });
  }
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&writers, &blocks] { ReadBlocks(writers, blocks); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(blocks, 3);
  EXPECT_THAT(key.Values(), ElementsAre("value"));
}

TEST_F(RegistryTest, ThreadsThatMakeOneTreeAtOnceAllSucceed) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      for (int round = 0; round < 20; ++round) {
        Key made;
        ASSERT_EQ(made.Make("Made\\" + std::to_string(round) + "\\By\\All"), kSuccess);
        ASSERT_EQ(made.Set(std::to_string(i), "data"), kSuccess);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(key.Open("Made\\" + std::to_string(round) + "\\By\\All"), kSuccess);
    EXPECT_THAT(key.Values(), UnorderedElementsAre("0", "1", "2", "3"));
  }
}

}  // namespace
}  // namespace larder::platform
