// The file provider's store, in this process and with others beside it.
#include "feed-file/fact-store.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <thread>

#include "feed-file/store-folder.h"
#include "platform/file-lock.h"
#include "platform/folder.h"
#include "platform/utf.h"
#include "providers/provider-machine.h"
#include "providers/provider-module.h"
#include "providers/store-files.h"
#include "tools/run-program.h"

namespace larder::feed {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

class FactStoreTest : public testing::Test {
 protected:
  FactStoreTest() { EXPECT_EQ(platform::MakeFolder(folder), platform::kSuccess); }

  std::filesystem::path DataFile() const { return machine.Folder() / "store" / "data.mdb"; }
  std::filesystem::path AsideFile() const { return machine.Folder() / "set-aside" / "data.mdb"; }

  void FillAndClose(int count) const {
    FactStore store(folder, kMiB);
    for (int number = 0; number < count; ++number) Keep(store, number);
  }

  // The store works, and what it had before is set aside.
  void ExpectMadeAnew() const {
    const auto size = std::filesystem::file_size(DataFile());
    {
      FactStore store(folder, kMiB);
      KeepNow(store, 777);
      EXPECT_TRUE(Has(store, 777));
      EXPECT_FALSE(Has(store, 0));
      EXPECT_EQ(store.Figures().entries, 1u);
    }
    EXPECT_GE(std::filesystem::file_size(AsideFile()), size);  // a map may have made it grow
    FactStore again(folder, kMiB);
    EXPECT_TRUE(Has(again, 777));
  }

  // Changes a byte of some text in the data file, wherever it stands: pages that aren't used any
  // more may have copies.
  void Change(const std::string& text, std::size_t index, char mask) const {
    std::string bytes(std::filesystem::file_size(DataFile()), '\0');
    std::fstream file(DataFile(), std::ios::binary | std::ios::in | std::ios::out);
    file.read(bytes.data(), std::ssize(bytes));
    const std::string before = bytes;
    for (auto at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
      bytes[at + index] ^= mask;
    }
    EXPECT_NE(bytes, before);
    file.seekp(0);
    file.write(bytes.data(), std::ssize(bytes));
  }

  std::unique_ptr<RunningProgram> StartWriter(int limit, int first, int last,
                                              std::size_t size) const {
    return std::make_unique<RunningProgram>(
        NativePath(BesideProgram({})) / LARDER_STORE_WRITER,
        std::vector<std::string>{platform::Utf8FromWide(folder), std::to_string(limit),
                                 std::to_string(first), std::to_string(last), std::to_string(size)},
        ProgramFiles{machine.Folder() / ("errors-" + std::to_string(first)), {}, {}});
  }

  ProviderMachine machine;
  const WideString folder = machine.WideFolder() + LARDER_WIDE("store");
};

TEST_F(FactStoreTest, FindsWhatItKeepsAtOnceAndInItsNextLife) {
  {
    FactStore store(folder, kMiB);
    const WideString path = PathOf(1);
    store.Keep({path, kInfo}, RecordOf(5, 3000));
    Keep(store, 1);  // in place of the other
    EXPECT_TRUE(Has(store, 1));
    KeepNow(store, 2, 3000);
    EXPECT_TRUE(Has(store, 2, 3000));
    EXPECT_FALSE(Has(store, 3));
    const FileFigures figures = store.Figures();
    EXPECT_EQ(figures.hits, 2u);
    EXPECT_EQ(figures.misses, 1u);
  }
  FactStore store(folder, kMiB);
  EXPECT_TRUE(Has(store, 1));
  EXPECT_TRUE(Has(store, 2, 3000));
  EXPECT_EQ(store.Figures().entries, 2u);
}

TEST_F(FactStoreTest, FindsNothingForAFileThatDiffersInAnything) {
  FactStore store(folder, kMiB);
  KeepNow(store, 1);
  const WideString path = PathOf(1);
  const WideString otherPath = PathOf(2);
  const auto found = [&](const StoredFile& file) {
    DbBuffer record;
    return store.Find(file, &record);
  };
  EXPECT_TRUE(found({path, kInfo}));
  EXPECT_FALSE(found({otherPath, kInfo}));
  for (std::uint64_t platform::FileInfo::*field :
       {&platform::FileInfo::size, &platform::FileInfo::lastModified, &platform::FileInfo::volume,
        &platform::FileInfo::index, &platform::FileInfo::changed}) {
    platform::FileInfo other = kInfo;
    ++(other.*field);
    EXPECT_FALSE(found({path, other}));
  }
}

TEST_F(FactStoreTest, LetsTheOldestGoWhenItIsFull) {
  constexpr int kCount = 4000;
  FactStore store(folder, 8 * kMiB);
  for (const std::size_t size : {std::size_t{3000}, std::size_t{400}, std::size_t{3000}}) {
    const int count = size == 400 ? 4 * kCount : kCount;
    for (int number = 0; number < count; ++number) Keep(store, number, size);
    KeepNow(store, count, size);
    EXPECT_FALSE(Has(store, 0, size));
    int present = 0;
    for (int number = count; Has(store, number, size); --number) ++present;
    EXPECT_GT(present, size == 400 ? 4000 : 1200);
    EXPECT_EQ(store.Figures().entries, static_cast<std::uint64_t>(present)) << "gaps";
  }
  EXPECT_LE(std::filesystem::file_size(DataFile()), 8 * kMiB);
  EXPECT_EQ(store.Figures().refused, 0u);
  EXPECT_FALSE(std::filesystem::exists(AsideFile()));
}

TEST_F(FactStoreTest, FollowsAnotherProcessThatLetItGrow) {
  constexpr int kCount = 180;
  constexpr std::size_t kSize = 100'000;
  FactStore store(folder, 64 * kMiB);
  KeepNow(store, 0);
  const auto writer = StartWriter(64, 1, kCount, kSize);
  EXPECT_EQ(writer->Wait(), 0);
  EXPECT_GT(std::filesystem::file_size(DataFile()), 16 * kMiB);
  for (int number = 1; number <= kCount; ++number) EXPECT_TRUE(Has(store, number, kSize)) << number;
  KeepNow(store, kCount + 1);
  EXPECT_TRUE(Has(store, kCount + 1));
  EXPECT_TRUE(Has(store, 0));
}

TEST_F(FactStoreTest, LosesNothingThatWasStoredWhenWritersAreKilled) {
  constexpr int kRounds = 12;
  constexpr int kEach = 1000;
  std::set<int> stored;
  for (int round = 0; round < kRounds; ++round) {
    const auto one = StartWriter(64, 2 * round * kEach, 2 * round * kEach + kEach - 1, 3000);
    const auto other = StartWriter(64, (2 * round + 1) * kEach, (2 * round + 2) * kEach - 1, 400);
    for (int line = 0; line <= round; ++line) {
      stored.insert(std::stoi(one->ReadLine().value()));
      stored.insert(std::stoi(other->ReadLine().value()));
    }
    // Both are killed here, in whatever they are doing.
  }
  FactStore store(folder, 64 * kMiB);
  for (const int number : stored) {
    EXPECT_TRUE(Has(store, number, number / kEach % 2 == 0 ? 3000 : 400)) << number;
  }
  EXPECT_GE(store.Figures().entries, stored.size());
  EXPECT_FALSE(std::filesystem::exists(AsideFile()));
  KeepNow(store, -1);
  EXPECT_TRUE(Has(store, -1));
}

TEST_F(FactStoreTest, SetsAsideWhatIsDamagedEachTime) {
  const auto overwrite = [this] { std::ofstream(DataFile()) << std::string(10000, 'x'); };
  // The tables are gone while the file's head is whole.
  const auto hollow = [this] {
    const auto size = std::filesystem::file_size(DataFile());
    std::fstream file(DataFile(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(2 * 4096);
    file << std::string(size - 2 * 4096, '\0');
  };
  const auto cutOff = [this] {
    std::filesystem::resize_file(DataFile(), std::uintmax_t{3} * 4096);
  };
  for (const std::function<void()>& damage :
       std::initializer_list<std::function<void()>>{overwrite, overwrite, cutOff, hollow}) {
    FillAndClose(300);
    damage();
    ExpectMadeAnew();
  }
  // In use it shows to one who writes and to one who reads.
  const auto aside = AsideFile().parent_path();
  FactStore store(folder, kMiB);
  KeepNow(store, 1);
  std::filesystem::remove_all(aside);
  hollow();
  KeepNow(store, 2);
  EXPECT_TRUE(Has(store, 2));
  EXPECT_TRUE(std::filesystem::exists(aside));
  std::filesystem::remove_all(aside);
  hollow();
  EXPECT_FALSE(Has(store, 2));
  while (!std::filesystem::exists(aside)) std::this_thread::yield();
}

TEST_F(FactStoreTest, GivesNoRecordWithABitThatFlipped) {
  FillAndClose(50);
  const std::vector<unsigned char> record = RecordOf(7);
  Change({record.begin(), record.end()}, 100, 1);
  FactStore store(folder, kMiB);
  EXPECT_FALSE(Has(store, 7));
  EXPECT_TRUE(Has(store, 8));
  KeepNow(store, 7);
  EXPECT_TRUE(Has(store, 7));
}

TEST_F(FactStoreTest, SetsAsideAStoreOfANewerFormatAndSaysSo) {
  FillAndClose(1);
  Change(std::string("format\1\0\0\0\0\0\0", 14), 6, 1 ^ 2);
  machine.SetText(LARDER_WIDE("Logging"), LARDER_WIDE("szEnable"), LARDER_WIDE("true"));
  ExpectMadeAnew();
  WideString data;
  ASSERT_EQ(platform::CommonFolderPath(platform::CommonFolder::kData, data), platform::kSuccess);
  std::ifstream log(NativePath(data + LARDER_WIDE("\\Velmor\\Larder\\logs\\feedf.log")));
  std::string line;
  std::getline(log, line);
  EXPECT_NE(line.find(":  WARN: The store \""), std::string::npos) << line;
  EXPECT_NE(line.find("has the format 2, not 1; it was moved to \""), std::string::npos) << line;
  EXPECT_NE(line.find("set-aside\", and a new one is created"), std::string::npos) << line;
}

TEST_F(FactStoreTest, IsNoneWhereItCannotBe) {
  ASSERT_EQ(platform::RemoveFolder(folder), platform::kSuccess);
  FactStore store(folder, kMiB);
  Keep(store, 1);
  EXPECT_FALSE(Has(store, 1));
  EXPECT_EQ(store.Figures().refused, 1u);
  const std::string text = TextThrownBy([&] { KeepNow(store, 1); });
  EXPECT_TRUE(text.starts_with("Can't use the store \"")) << text;
}

TEST_F(FactStoreTest, RefusesARecordThatWouldTakeMuchOfIt) {
  FillAndClose(50);
  FactStore store(folder, kMiB);
  EXPECT_EQ(TextThrownBy([&] { KeepNow(store, 100, kMiB + 1); }),
            "it is too large for the store's limit");
  KeepNow(store, 101, kMiB);
  EXPECT_TRUE(Has(store, 0));
  EXPECT_TRUE(Has(store, 101, kMiB));
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

TEST_F(FactStoreTest, BearsEightThreads) {
  FactStore store(folder, 4 * kMiB);
  KeepNow(store, 0);
  std::vector<std::thread> threads;
  for (int thread = 1; thread <= 8; ++thread) {
    threads.emplace_back([&store, thread] {
      for (int i = 0; i < 200; ++i) {
        Keep(store, thread * 1000 + i);
        EXPECT_TRUE(Has(store, thread * 1000 + i));
        EXPECT_TRUE(Has(store, 0));
      }
      KeepNow(store, thread * 1000 + 999);
      EXPECT_GT(store.Figures().entries, 0u);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(store.Figures().entries, 8u * 201 + 1);
  EXPECT_EQ(store.Figures().refused, 0u);
}

}  // namespace
}  // namespace larder::feed
