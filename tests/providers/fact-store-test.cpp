// The file provider's store, in this process and with others beside it.
#include "feed-file/fact-store.h"

#include <set>
#include <thread>

#include "feed-file/store-folder.h"
#include "feed-file/store-log.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "platform/log-file.h"
#include "providers/provider-test.h"
#include "providers/store-files.h"
#include "tools/run-program.h"

namespace larder::feed {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

class FactStoreTest : public testing::Test {
 protected:
  FactStoreTest() { EXPECT_EQ(platform::MakeFolder(folder), platform::kSuccess); }

  // One record replaces another that is still waiting.
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

  std::uintmax_t SizeOfAllFiles() const {
    std::uintmax_t size = 0;
    for (const auto& file : std::filesystem::directory_iterator(data.parent_path())) {
      size += file.file_size();
    }
    return size;
  }

  RunningProgram Writer(int first, int last, std::size_t size) const {
    return {PathOf(BesideProgram({})) / LARDER_STORE_WRITER,
            {platform::Utf8FromWide(folder), std::to_string(first), std::to_string(last),
             std::to_string(size)},
            {machine.Folder() / ("errors-" + std::to_string(first)), {}, {}}};
  }

  const ProviderMachine machine;
  const WideString folder = machine.WideFolder() + LARDER_WIDE("store");
  const std::filesystem::path data = machine.Folder() / "store" / "facts.db";
  const std::filesystem::path aside = machine.Folder() / "set-aside" / "facts.db";
};

TEST_F(FactStoreTest, FindsTheLastRecordOfAPathAndNothingForAnotherState) {
  const std::filesystem::path earlier = data.parent_path() / "data.mdb";
  std::ofstream(earlier) << "an earlier version's store";
  FactStore store(folder, kMiB);
  EXPECT_FALSE(std::filesystem::exists(earlier));
  KeepNow(store, 1);
  EXPECT_TRUE(Has(store, 1));
  EXPECT_FALSE(Has(store, 2));
  const WideString path = StoredPath(1);
  platform::FileInfo other = kInfo;
  DbBuffer record;
  for (std::size_t i = 0; i < sizeof other / sizeof(std::uint64_t); ++i) {
    auto* const field = reinterpret_cast<std::uint64_t*>(&other) + i;
    ++*field;
    EXPECT_FALSE(store.Find({path, other}, &record)) << "field " << i;
    --*field;
  }
  ++other.lastModified;
  store.KeepNow({path, other}, RecordOf(1));
  EXPECT_TRUE(store.Find({path, other}, &record));
  EXPECT_FALSE(Has(store, 1));
  EXPECT_EQ(store.Figures().entries, 1u);
}

TEST_F(FactStoreTest, KeepsItsLimitAndTakesNoHugeRecord) {
  FactStore store(folder, 8 * kMiB);
  for (const auto& [size, count] : {std::pair(3000u, 4000), std::pair(400u, 16000)}) {
    for (int number = 0; number < count; ++number) Keep(store, number, size);
    KeepNow(store, count, size);
    std::uint64_t present = 0;
    for (int number = 0; number <= count; ++number) present += Has(store, number, size) ? 1 : 0;
    EXPECT_GT(present, size == 400 ? 4000u : 1000u);
    EXPECT_LE(SizeOfAllFiles(), 8 * kMiB);
  }
  EXPECT_EQ(store.Figures().refused, 0u);
  EXPECT_EQ(TextThrownBy([&] { KeepNow(store, 1, kMiB + 1); }),
            "it is too large for the store's limit");
  KeepNow(store, 1, kMiB);
  EXPECT_TRUE(Has(store, 1, kMiB));
  EXPECT_LE(SizeOfAllFiles(), 8 * kMiB);
}

TEST_F(FactStoreTest, KeepsTheFilesInUseThroughLargerScans) {
  constexpr int kInUse = 2000;
  constexpr int kScanned = 16'000;  // more than twice what fits
  FactStore store(folder, 8 * kMiB);
  const auto ask = [&store](int first, int last) {
    int found = 0;
    for (int number = first; number < last; ++number) {
      if (Has(store, number)) {
        ++found;
      } else {
        Keep(store, number);
      }
    }
    KeepNow(store, -1);
    return found;
  };
  ask(10'000, 10'000 + kScanned);
  ask(0, kInUse);
  ask(0, kInUse);
  for (int round = 0; round < 4; ++round) {
    EXPECT_GE(ask(0, kInUse), kInUse * 9 / 10) << round;
    ask(10'000, 10'000 + kScanned);
  }
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
  const auto newer = [this] { Overwrite("\3", 63); };
  const auto useFolder = [this] {
    std::filesystem::remove(data);
    std::filesystem::create_directories(data / "sub");
  };
  const auto useFile = [this] {
    std::filesystem::remove_all(data.parent_path());
    std::ofstream(data.parent_path()) << "no folder";
  };
  int number = 0;
  for (const std::function<void()>& damage : std::initializer_list<std::function<void()>>{
           replace, replace, cutOff, hollow, useFolder, useFile, newer}) {
    FillAndClose(300);
    damage();
    ++number;
    for (const bool isNew : {true, false}) {
      FactStore store(folder, kMiB);
      EXPECT_FALSE(Has(store, 0));
      EXPECT_NE(Has(store, 777), isNew) << number;
      KeepNow(store, 777);
    }
  }
  WideString common;
  ASSERT_EQ(platform::CommonFolderPath(platform::CommonFolder::kData, common), platform::kSuccess);
  EXPECT_THAT(
      ContentOf(PathOf(common + LARDER_WIDE("\\Velmor\\Larder\\logs\\feedf.log"))),
      testing::ContainsRegex(":  WARN: The store \".*has the format 3, not 2; it was moved to "
                             "\".*set-aside\", and a new one is created"));
}

TEST_F(FactStoreTest, ItsLogIsRotatedByOneProcessAtATimeAndGrowsSlowly) {
  machine.SetText(LARDER_WIDE("Logging"), LARDER_WIDE("szEnable"), LARDER_WIDE("true"));
  WideString common;
  ASSERT_EQ(platform::CommonFolderPath(platform::CommonFolder::kData, common), platform::kSuccess);
  const WideString logs = common + LARDER_WIDE("\\Velmor\\Larder\\logs\\");
  const auto log = PathOf(logs + LARDER_WIDE("feedf.log"));
  std::filesystem::create_directories(log.parent_path());
  std::ofstream(log) << std::string(102400, 'x');
  platform::OwnedHandle appending;  // another process, as the next one
  ASSERT_EQ(platform::OpenFileToAppend(logs + LARDER_WIDE("feedf.log"), appending.Out()), 0u);
  platform::OwnedHandle rotating;
  platform::OpenLockFile(logs + LARDER_WIDE("feedf.lock"), rotating.Out());
  EXPECT_EQ(platform::TryLockFile(rotating.Get()), platform::kSuccess);
  LogWarning("to the full file");
  rotating = platform::InvalidHandle();
  for (int i = 0; i < 100; ++i) {
    LogWarning("always the same");
    LogWarning(std::to_string(i));
  }
  EXPECT_THAT(ContentOf(log.string() + ".1"), testing::EndsWith(":  WARN: to the full file\r\n"));
  const std::string lines = ContentOf(log);
  EXPECT_LE(std::count(lines.begin(), lines.end(), '\n'), 20);
  EXPECT_EQ(lines.find("always"), lines.rfind("always"));
}

TEST_F(FactStoreTest, ReplacesAStoreThatIsDamagedWhileItIsInUse) {
  const auto replace = [this] { std::ofstream(data) << std::string(10000, 'x'); };
  // Wherever the file has the record: unused parts of pages may have copies.
  const auto flipBit = [this] {
    const std::string bytes = ContentOf(data);
    const std::vector<unsigned char> record = RecordOf(7);
    const std::string wanted(record.begin(), record.end());
    ASSERT_NE(bytes.find(wanted), std::string::npos);
    for (auto at = bytes.find(wanted); at != std::string::npos; at = bytes.find(wanted, at + 1)) {
      Overwrite({static_cast<char>(bytes[at + 100] ^ 1)}, at + 100);
    }
  };
  for (const std::function<void()>& damage :
       std::initializer_list<std::function<void()>>{replace, flipBit}) {
    for (const bool isWriter : {false, true}) {
      FillAndClose(300);
      std::filesystem::remove_all(aside.parent_path());
      FactStore store(folder, kMiB);
      damage();
      if (isWriter) KeepNow(store, 7, 500);
      EXPECT_EQ(Has(store, 7, 500), isWriter);
      while (!isWriter && Has(store, 8)) std::this_thread::yield();
    }
  }
}

TEST_F(FactStoreTest, ReturnsAClientsRecordOfAnotherProcessInPlaceOfACachedOne) {
  FactStore store(folder, kMiB);
  FactStore other(folder, kMiB);
  KeepNow(store, 1, 500);
  EXPECT_TRUE(Has(store, 1, 500));
  KeepNow(other, 1);
  const WideString path = StoredPath(1);
  DbBuffer record;
  do {
    ASSERT_TRUE(store.Find({path, kInfo}, &record));
  } while (record.size == 500);
  EXPECT_TRUE(Has(store, 1));
}

TEST_F(FactStoreTest, StopsWritingWhileAStalledReaderHoldsUpTheLog) {
  FactStore store(folder, 8 * kMiB);
  KeepNow(store, 0);
  std::string refusal;
  store.VisitAll([&](std::string_view, const platform::FileInfo&, RecordView) {
    refusal = TextThrownBy([&] {
      for (int number = 1; number < 100'000; ++number) KeepNow(store, number, 3000);
    });
    return true;
  });
  EXPECT_EQ(refusal, "Another process that is reading the store is stalled");
  EXPECT_LE(SizeOfAllFiles(), 8 * kMiB);
  KeepNow(store, 1);
  EXPECT_TRUE(Has(store, 1));
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
