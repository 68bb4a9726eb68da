#include "platform/registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/utf.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

constexpr std::uint32_t kReadAndWrite = kKeyRead | kKeySetValue;

// Failures print names as they are.
WideString Wide(std::string_view utf8) {
  WideString wide;
  if (!WideFromUtf8(utf8, wide)) throw std::invalid_argument("not UTF-8");
  return wide;
}

class Key {
 public:
  Key() = default;
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() { CloseRegistryKey(raw); }

  Code Open(std::string_view path, std::uint32_t access = kKeyRead) {
    CloseRegistryKey(raw);
    return OpenRegistryKey(Wide(path), access, raw);
  }
  Code Make(std::string_view path, std::uint32_t access = kReadAndWrite) {
    CloseRegistryKey(raw);
    return MakeRegistryKey(Wide(path), access, raw);
  }
  Code Set(std::string_view name, std::string_view data, std::uint32_t type = kRegBinary) const {
    // wine takes a zero that happens to lie behind a text's data for its terminator.
    const std::string padded = std::string(data) + "##";
    return SetRegistryValue(raw, Wide(name), type, padded.data(),
                            static_cast<std::uint32_t>(data.size()));
  }
  // The data of a value, or its code.
  std::string Get(std::string_view name) const {
    std::array<char, 4096> data;
    std::uint32_t type = 0;
    std::uint32_t size = data.size();
    const Code code = QueryRegistryValue(raw, Wide(name), type, data.data(), size);
    return code == kSuccess ? std::string(data.data(), size) : "code " + std::to_string(code);
  }
  Code Remove(std::string_view name) const { return RemoveRegistryValue(raw, Wide(name)); }
  std::vector<std::string> Subkeys() const { return Names(RegistrySubkeyName); }
  std::vector<std::string> Values() const { return Names(RegistryValueName); }

  RegistryKey raw = nullptr;

 private:
  std::vector<std::string> Names(decltype(RegistrySubkeyName) list) const {
    std::vector<std::string> names;
    std::array<LarderWideChar, 300> name;
    for (std::uint32_t index = 0;; ++index) {
      std::uint32_t length = name.size();
      const Code code = list(raw, index, name.data(), length);
      if (code == kNoMoreItems) return names;
      if (code != kSuccess) return {"code " + std::to_string(code)};
      EXPECT_EQ(name[length], 0);
      names.push_back(Utf8FromWide({name.data(), length}));
    }
  }
};

class RegistryTest : public ::testing::Test {
 protected:
  TestMachine machine;
};

TEST_F(RegistryTest, AFreshMachineHasNoKeys) {
  Key key;
  EXPECT_EQ(key.Open("Software"), kFileNotFound);
  EXPECT_EQ(key.raw, nullptr);
  EXPECT_EQ(key.Open("Software\\Maker\\"), kFileNotFound);
  EXPECT_EQ(RemoveRegistryTree(Wide("Software\\Maker")), kFileNotFound);
}

TEST_F(RegistryTest, MakingAKeyMakesTheMissingLevelsAboveItAndKeepsWhatIsThere) {
  Key key;
  ASSERT_EQ(key.Make("Software\\Maker\\One"), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\Two"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\One"), kSuccess);
  EXPECT_EQ(key.Get("value"), "data");
  ASSERT_EQ(key.Open("Software\\Maker"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("One", "Two"));
}

TEST_F(RegistryTest, ABackslashAtTheEndOfAPathAddsNothing) {
  Key key;
  ASSERT_EQ(key.Make("Software\\Maker\\"), kSuccess);
  EXPECT_EQ(key.Open("Software\\Maker"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\Sub"), kSuccess);
  ASSERT_EQ(key.Open("Software\\Maker\\\\", kKeyAllAccess), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Sub"));
  EXPECT_EQ(RemoveRegistryKey(key.raw, Wide("Sub\\")), kSuccess);
  EXPECT_EQ(RemoveRegistryTree(Wide("Software\\Maker\\")), kSuccess);
  EXPECT_EQ(key.Open("Software\\Maker"), kFileNotFound);
}

TEST_F(RegistryTest, KeysAreFoundWithoutCaseAndKeepTheirSpelling) {
  Key key;
  ASSERT_EQ(key.Make("Software\\Mäker\\Яблоко"), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  EXPECT_EQ(key.Open("SOFTWARE\\mÄKER\\яБЛОКО"), kSuccess);
  EXPECT_EQ(key.Get("value"), "data");
  ASSERT_EQ(key.Make("software\\MÄKER\\ЯБЛОКО"), kSuccess);
  EXPECT_EQ(key.Get("value"), "data");
  ASSERT_EQ(key.Open("software"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Mäker"));
  EXPECT_EQ(RemoveRegistryTree(Wide("SOFTWARE\\mäker")), kSuccess);
  EXPECT_THAT(key.Subkeys(), IsEmpty());
}

TEST_F(RegistryTest, AValueSetUnderAnotherSpellingReplacesTheOldAndKeepsItsName) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(key.Set("szÄpfel", "old"), kSuccess);
  ASSERT_EQ(key.Set("SZäPFEL", "new", kRegSz), kSuccess);
  EXPECT_EQ(key.Get("SzäpfeL"), "new");
  EXPECT_THAT(key.Values(), ElementsAre("szÄpfel"));
  EXPECT_EQ(key.Remove("SZÄPFEL"), kSuccess);
  EXPECT_THAT(key.Values(), IsEmpty());
}

TEST_F(RegistryTest, AQueryTellsTypeSizeAndData) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  const std::uint32_t stored = 0x12345678;
  ASSERT_EQ(SetRegistryValue(key.raw, Wide("number"), kRegDword, &stored, 4), kSuccess);
  std::uint32_t number = 0;
  std::uint32_t type = 0;
  std::uint32_t size = 4;
  EXPECT_EQ(QueryRegistryValue(key.raw, Wide("number"), type, &number, size), kSuccess);
  EXPECT_EQ(number, stored);
  EXPECT_EQ(type, kRegDword);
  EXPECT_EQ(size, 4u);
}

TEST_F(RegistryTest, AValueWithoutDataIsAValue) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(SetRegistryValue(key.raw, Wide("nothing"), kRegBinary, nullptr, 0), kSuccess);
  EXPECT_EQ(key.Get("nothing"), "");
  EXPECT_THAT(key.Values(), ElementsAre("nothing"));
}

TEST_F(RegistryTest, TooLittleRoomTellsTypeAndSizeAndWritesNothingBehindIt) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(key.Set("value", "0123456789", kRegExpandSz), kSuccess);
  std::array<char, 12> data;
  data.fill('#');
  std::uint32_t type = 0;
  std::uint32_t size = 9;
  EXPECT_EQ(QueryRegistryValue(key.raw, Wide("value"), type, data.data(), size), kMoreData);
  EXPECT_EQ(type, kRegExpandSz);
  EXPECT_EQ(size, 10u);
  EXPECT_THAT(std::string(data.begin() + 9, data.end()), Each('#'));
  size = 10;
  EXPECT_EQ(QueryRegistryValue(key.raw, Wide("value"), type, data.data(), size), kSuccess);
  EXPECT_EQ(std::string(data.begin(), data.end()), "0123456789##");
}

TEST_F(RegistryTest, AQueryWithoutABufferTellsTypeAndSize) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(key.Set("value", "0123456789", kRegSz), kSuccess);
  for (const std::uint32_t room : {0u, 5u, 100u}) {
    std::uint32_t type = 0;
    std::uint32_t size = room;
    EXPECT_EQ(QueryRegistryValue(key.raw, Wide("value"), type, nullptr, size), kSuccess);
    EXPECT_EQ(type, kRegSz);
    EXPECT_EQ(size, 10u);
  }
}

TEST_F(RegistryTest, AMissingValueIsNotFound) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  EXPECT_EQ(key.Get("value"), "code 2");
  EXPECT_EQ(key.Remove("value"), kFileNotFound);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  EXPECT_EQ(key.Remove("value"), kSuccess);
  EXPECT_EQ(key.Get("value"), "code 2");
}

TEST_F(RegistryTest, AnOperationBeyondTheAccessAskedForIsDenied) {
  Key key;
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
  Key key;
  EXPECT_EQ(key.Get("value"), "code 6");
  EXPECT_EQ(key.Set("value", "data"), kInvalidHandle);
  EXPECT_EQ(key.Remove("value"), kInvalidHandle);
  EXPECT_THAT(key.Subkeys(), ElementsAre("code 6"));
  EXPECT_THAT(key.Values(), ElementsAre("code 6"));
  EXPECT_EQ(RemoveRegistryKey(nullptr, Wide("Key")), kInvalidHandle);
  CloseRegistryKey(nullptr);
}

TEST_F(RegistryTest, SubkeysAreListedByNameWithoutCase) {
  Key key;
  for (const char* name : {"Key\\delta", "Key\\Charlie", "Key\\bravo", "Key\\ALPHA", "Key\\Bravo2"})
    ASSERT_EQ(key.Make(name), kSuccess);
  ASSERT_EQ(key.Open("Key"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("ALPHA", "bravo", "Bravo2", "Charlie", "delta"));
  EXPECT_THAT(key.Values(), IsEmpty());
}

TEST_F(RegistryTest, ANameIsGivenOnlyWhenItsTerminatorFitsToo) {
  Key key;
  ASSERT_EQ(key.Make("Key\\Subkey"), kSuccess);
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(key.Set("Values", "data"), kSuccess);
  std::array<LarderWideChar, 7> name;
  for (const auto list : {RegistrySubkeyName, RegistryValueName}) {
    std::uint32_t length = 6;
    EXPECT_EQ(list(key.raw, 0, name.data(), length), kMoreData);
    length = 7;
    EXPECT_EQ(list(key.raw, 0, name.data(), length), kSuccess);
    EXPECT_EQ(length, 6u);
    EXPECT_EQ(list(key.raw, 1, name.data(), length), kNoMoreItems);
  }
}

TEST_F(RegistryTest, KeyNamesOf255CharactersWork) {
  Key key;
  const std::string name(255, 'n');
  ASSERT_EQ(key.Make("Key\\" + name + "\\Sub"), kSuccess);
  ASSERT_EQ(key.Open("Key"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre(name));
}

TEST_F(RegistryTest, AnyCharactersMayStandInNames) {
  const std::vector<std::string> names = {"a",      "a.value", "%41",          ".",
                                          "..",     ".tmp-1",  "with/slash",   "50%",
                                          "b\x01c", "tab\t",   "\xED\xA0\x80", "\xF0\x9F\x98\x80",
                                          " a ",    "\x7F",    "dot.",         "a.b.c"};
  Key parent;
  ASSERT_EQ(parent.Make("Key"), kSuccess);
  Key key;
  for (const std::string& name : names) {
    EXPECT_EQ(key.Make("Key\\" + name), kSuccess) << name;
    EXPECT_EQ(key.Set("own", name), kSuccess) << name;
    EXPECT_EQ(parent.Set(name, name + "!"), kSuccess) << name;
  }
  EXPECT_THAT(parent.Subkeys(), UnorderedElementsAreArray(names));
  EXPECT_THAT(parent.Values(), UnorderedElementsAreArray(names));
  for (const std::string& name : names) {
    EXPECT_EQ(key.Open("Key\\" + name), kSuccess) << name;
    EXPECT_EQ(key.Get("own"), name);
    EXPECT_EQ(parent.Get(name), name + "!");
    EXPECT_EQ(parent.Remove(name), kSuccess) << name;
    EXPECT_EQ(RemoveRegistryKey(parent.raw, Wide(name)), kSuccess) << name;
  }
}

TEST_F(RegistryTest, AValueCanHaveNoName) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(key.Set("", "data"), kSuccess);
  EXPECT_EQ(key.Get(""), "data");
  EXPECT_THAT(key.Values(), ElementsAre(""));
  EXPECT_EQ(key.Remove(""), kSuccess);
}

TEST_F(RegistryTest, NamesWithANulAreRefused) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  const std::string cut("value\0s", 7);
  EXPECT_EQ(key.Get(cut), "code 87");
  EXPECT_EQ(key.Set(cut, "other"), kInvalidParameter);
  EXPECT_EQ(key.Remove(cut), kInvalidParameter);
  EXPECT_EQ(RemoveRegistryTree(Wide(std::string("Key\0s", 5))), kInvalidParameter);
  Key other;
  EXPECT_EQ(other.Open(std::string("Key\0s", 5)), kInvalidParameter);
  EXPECT_EQ(other.Make(std::string("Key\0s", 5)), kInvalidParameter);
  EXPECT_EQ(key.Get("value"), "data");
}

TEST_F(RegistryTest, RemovingATreeTakesTheKeyAndAllBelowIt) {
  Key key;
  ASSERT_EQ(key.Make("Software\\Maker\\A\\B\\C"), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\A\\Other"), kSuccess);
  ASSERT_EQ(key.Make("Software\\Maker\\Beside"), kSuccess);
  EXPECT_EQ(RemoveRegistryTree(Wide("Software\\Maker\\A")), kSuccess);
  ASSERT_EQ(key.Open("Software\\Maker"), kSuccess);
  EXPECT_THAT(key.Subkeys(), ElementsAre("Beside"));
}

TEST_F(RegistryTest, AKeyWithSubkeysIsRemovedOnlyAsATree) {
  Key key;
  ASSERT_EQ(key.Make("Key\\Full\\Sub"), kSuccess);
  ASSERT_EQ(key.Make("Key\\Full"), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  Key parent;
  ASSERT_EQ(parent.Open("Key", kKeyAllAccess), kSuccess);
  EXPECT_EQ(RemoveRegistryKey(parent.raw, Wide("Full")), kAccessDenied);
  EXPECT_EQ(key.Get("value"), "data");
  EXPECT_EQ(RemoveRegistryKey(parent.raw, Wide("Full\\Sub")), kSuccess);
  EXPECT_EQ(RemoveRegistryKey(parent.raw, Wide("fULL")), kSuccess);
  EXPECT_THAT(parent.Subkeys(), IsEmpty());
  EXPECT_EQ(RemoveRegistryKey(parent.raw, Wide("Full")), kFileNotFound);
}

TEST_F(RegistryTest, NoRemovalTakesTheEmptyPathForTheWhole) {
  Key key;
  ASSERT_EQ(key.Make("Key"), kSuccess);
  for (const char* path : {"", "\\", "\\\\"}) {
    EXPECT_EQ(RemoveRegistryTree(Wide(path)), kInvalidParameter);
    EXPECT_EQ(RemoveRegistryKey(key.raw, Wide(path)), kInvalidParameter);
  }
  EXPECT_EQ(key.Open("Key"), kSuccess);
}

TEST_F(RegistryTest, AKeyThatIsDeletedWhileItIsOpenOnlyGivesErrors) {
  Key key;
  ASSERT_EQ(key.Make("Key\\Sub", kKeyAllAccess), kSuccess);
  ASSERT_EQ(key.Set("value", "data"), kSuccess);
  ASSERT_EQ(RemoveRegistryTree(Wide("Key")), kSuccess);
  const auto isGone = AnyOf(kFileNotFound, kKeyDeleted);
  EXPECT_THAT(key.Set("value", "data"), isGone);
  EXPECT_THAT(key.Remove("value"), isGone);
  EXPECT_THAT(key.Get("value"), AnyOf("code 2", "code 1018"));
  EXPECT_THAT(key.Subkeys(), ElementsAre(AnyOf("code 2", "code 1018")));
  EXPECT_THAT(key.Values(), ElementsAre(AnyOf("code 2", "code 1018")));
  EXPECT_THAT(RemoveRegistryKey(key.raw, Wide("Sub")), isGone);
  EXPECT_EQ(key.Open("Key"), kFileNotFound);
}

// A block whose every byte tells its length.
std::string Block(std::size_t size) { return std::string(size, static_cast<char>(size)); }

void WriteBlocks(int first) {
  Key key;
  ASSERT_EQ(key.Make("Shared\\Key"), kSuccess);
  for (int i = 0; i < 100; ++i)
    ASSERT_EQ(key.Set("value", Block(static_cast<std::size_t>(first + i))), kSuccess);
}

void ReadBlocks(const std::atomic<int>& writers, std::atomic<int>& blocks) {
  Key key;
  ASSERT_EQ(key.Open("Shared\\Key"), kSuccess);
  do {
    const std::string block = key.Get("value");
    ASSERT_EQ(block, Block(block.size()));
    ++blocks;
  } while (writers > 0);
}

TEST_F(RegistryTest, ThreadsThatReadAValueSeeWholeValuesOnlyWhileOthersWriteIt) {
  Key key;
  ASSERT_EQ(key.Make("Shared\\Key"), kSuccess);
  ASSERT_EQ(key.Set("value", Block(1)), kSuccess);
  std::atomic<int> writers{3};
  std::atomic<int> blocks{0};
  std::vector<std::thread> threads;
  for (const int first : {1, 50, 100}) {
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
        Key key;
        const std::string path = "Made\\" + std::to_string(round) + "\\By\\All";
        ASSERT_EQ(key.Make(path), kSuccess);
        ASSERT_EQ(key.Set(std::to_string(i), "data"), kSuccess);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  Key key;
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(key.Open("Made\\" + std::to_string(round) + "\\By\\All"), kSuccess);
    EXPECT_THAT(key.Values(), UnorderedElementsAre("0", "1", "2", "3"));
  }
}

}  // namespace
}  // namespace larder::platform
