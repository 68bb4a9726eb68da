// The file provider's store, in this process and with others beside it.
#include "feed-file/fact-store.h"

#include <set>
#include <thread>

#include "feed-file/store-folder.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "providers/provider-test.h"
#include "providers/store-files.h"
#include "tools/run-program.h"

namespace larder::feed {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

class FactStoreTest : public testing::Test {
 protected:
  FactStoreTest() { EXPECT_EQ(platform::MakeFolder(folder), platform::kSuccess); }

  // One record replaces a larger one that is still waiting.
  void FillAndClose(int count) const {
    FactStore store(folder, kMiB);
    Keep(store, 0, 3000);
    for (int number = 0; number < count; ++number) Keep(store, number);
  }

  void Overwrite(const std::string& bytes, std::uintmax_t offset = 0) const {
    std::fstream file(data, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(offset));
    file << bytes;
  }

  // Changes a byte of a text wherever the data file has it: unused pages may have copies.
  void Change(const std::string& text, std::size_t index, char mask) const {
    std::string bytes = ContentOf(data);
    ASSERT_NE(bytes.find(text), std::string::npos);
    for (auto at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
      bytes[at + index] ^= mask;
    }
    Overwrite(bytes);
  }

  RunningProgram Writer(int first, int last, std::size_t size) const {
    return {PathOf(BesideProgram({})) / LARDER_STORE_WRITER,
            {platform::Utf8FromWide(folder), std::to_string(first), std::to_string(last),
             std::to_string(size)},
            {machine.Folder() / ("errors-" + std::to_string(first)), {}, {}}};
  }

  const ProviderMachine machine;
  const WideString folder = machine.WideFolder() + LARDER_WIDE("store");
  const std::filesystem::path data = machine.Folder() / "store" / "data.mdb";
  const std::filesystem::path aside = machine.Folder() / "set-aside" / "data.mdb";
};

TEST_F(FactStoreTest, FindsNothingForAFileThatDiffersInAnything) {
  FactStore store(folder, kMiB);
  KeepNow(store, 1);
  EXPECT_TRUE(Has(store, 1));
  EXPECT_FALSE(Has(store, 2));
  for (std::uint64_t platform::FileInfo::*field :
       {&platform::FileInfo::size, &platform::FileInfo::lastModified, &platform::FileInfo::volume,
        &platform::FileInfo::index, &platform::FileInfo::changed}) {
    platform::FileInfo other = kInfo;
    ++(other.*field);
    DbBuffer record;
    const WideString path = StoredPath(1);
    EXPECT_FALSE(store.Find({path, other}, &record));
  }
}

TEST_F(FactStoreTest, RemovesTheOldestWhenItIsFullAndTakesNoHugeRecord) {
  FactStore store(folder, 8 * kMiB);
  for (const auto& [size, count] : {std::pair(3000u, 4000), std::pair(400u, 16000)}) {
    for (int number = 0; number < count; ++number) Keep(store, number, size);
    KeepNow(store, count, size);
    EXPECT_FALSE(Has(store, 0, size));
    int present = 0;
    for (int number = count; Has(store, number, size); --number) ++present;
    EXPECT_GT(present, size == 400 ? 4000 : 1200);
    EXPECT_EQ(store.Figures().entries, static_cast<std::uint64_t>(present)) << "gaps";
  }
  EXPECT_EQ(store.Figures().refused, 0u);
  EXPECT_EQ(TextThrownBy([&] { KeepNow(store, 1, kMiB + 1); }),
            "it is too large for the store's limit");
  KeepNow(store, 1, kMiB);
  EXPECT_TRUE(Has(store, 1, kMiB) && Has(store, 16000));
  EXPECT_LE(std::filesystem::file_size(data), 8 * kMiB);
}

TEST_F(FactStoreTest, FollowsWritersOfOtherProcessesUntilTheyAreKilled) {
  constexpr int kEach = 1000;
  constexpr std::size_t kLarge = 300'000;  // so that the file grows beyond what is mapped first
  FactStore store(folder, 64 * kMiB);
  KeepNow(store, -1);
  std::set<int> stored;
  for (int round = 0; round < 12; ++round) {
    const int first = 2 * round * kEach;
    RunningProgram one = Writer(first, first + kEach - 1, kLarge);
    RunningProgram other = Writer(first + kEach, first + 2 * kEach - 1, 400);
    for (int line = 0; line <= round; ++line) {
      stored.insert(std::stoi(one.ReadLine().value()));
      stored.insert(std::stoi(other.ReadLine().value()));
    }
    // Both are killed here, whatever they are doing.
  }
  for (const int number : stored) {
    EXPECT_TRUE(Has(store, number, number / kEach % 2 == 0 ? kLarge : 400)) << number;
  }
  EXPECT_FALSE(std::filesystem::exists(aside));
  KeepNow(store, -2);
  EXPECT_TRUE(Has(store, -1) && Has(store, -2));
}

TEST_F(FactStoreTest, SetsAsideWhatIsDamagedOrNewerEachTimeAndLogsIt) {
  machine.SetText(LARDER_WIDE("Logging"), LARDER_WIDE("szEnable"), LARDER_WIDE("true"));
  // The tables are lost while the head of the file is intact.
  const auto hollow = [this] {
    Overwrite(std::string(std::filesystem::file_size(data) - 8192, '\0'), 8192);
  };
  const auto replace = [this] { std::ofstream(data) << std::string(10000, 'x'); };
  const auto cutOff = [this] { std::filesystem::resize_file(data, 3 * 4096); };
  const auto newer = [this] { Change(std::string("format\1\0\0\0\0\0\0", 14), 6, 1 ^ 2); };
  for (const std::function<void()>& damage :
       std::initializer_list<std::function<void()>>{replace, replace, cutOff, hollow, newer}) {
    FillAndClose(300);
    damage();
    for (const bool isNew : {true, false}) {
      FactStore store(folder, kMiB);
      EXPECT_FALSE(Has(store, 0));
      EXPECT_NE(Has(store, 777), isNew);
      KeepNow(store, 777);
    }
  }
  WideString common;
  ASSERT_EQ(platform::CommonFolderPath(platform::CommonFolder::kData, common), platform::kSuccess);
  EXPECT_THAT(
      ContentOf(PathOf(common + LARDER_WIDE("\\Velmor\\Larder\\logs\\feedf.log"))),
      testing::ContainsRegex(":  WARN: The store \".*has the format 2, not 1; it was moved to "
                             "\".*set-aside\", and a new one is created"));
  // While the store is in use, writers and readers find the damage.
  FactStore store(folder, kMiB);
  KeepNow(store, 1);
  for (const bool isWriter : {true, false}) {
    std::filesystem::remove(aside);
    hollow();
    if (isWriter) KeepNow(store, 2);
    EXPECT_EQ(Has(store, 2), isWriter);
    while (!std::filesystem::exists(aside)) std::this_thread::yield();
  }
}

TEST_F(FactStoreTest, ReturnsNoRecordWithABitThatFlipped) {
  FillAndClose(50);
  const std::vector<unsigned char> record = RecordOf(7);
  Change({record.begin(), record.end()}, 100, 1);
  FactStore store(folder, kMiB);
  EXPECT_FALSE(Has(store, 7));
  EXPECT_TRUE(Has(store, 0) && Has(store, 8));
  KeepNow(store, 7);
  EXPECT_TRUE(Has(store, 7));
}

TEST_F(FactStoreTest, GivesUpAtTheEndWhatAnotherWriterHoldsUp) {
  FillAndClose(1);
  platform::Handle turn = nullptr;
  ASSERT_EQ(platform::OpenLockFile(TurnFile(folder), turn), platform::kSuccess);
  ASSERT_EQ(platform::TryLockFile(turn), platform::kSuccess);
  {
    FactStore store(folder, kMiB);
    for (int number = 1; number < 400; ++number) Keep(store, number);  // several batches
    EXPECT_TRUE(Has(store, 0) && Has(store, 399));
  }
  platform::CloseObject(turn);
  FactStore store(folder, kMiB);
  EXPECT_TRUE(Has(store, 0));
  EXPECT_FALSE(Has(store, 1));
  KeepNow(store, 1);
}

}  // namespace
}  // namespace larder::feed
