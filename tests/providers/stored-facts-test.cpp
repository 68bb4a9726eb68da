// When the file provider answers from its store, and what can be written there; as the built module
// with real files, and with its figures as the statistics provider tells them.
#include <gtest/gtest.h>
#include <larder/feed-file.h>
#include <larder/feed-stats.h>

#include <chrono>

#include "platform/folder.h"
#include "providers/file-provider-test.h"

namespace larder {
namespace {

const LarderWideChar* const kKey = LARDER_WIDE("DataProviders\\FeedFile");

// A record that no reading of a file would make: an MD5 of its own, and a certificate.
DbBuffer ForeignRecord() {
  std::string fields(400 - sizeof(DataBlockHeader), '\0');
  fields[offsetof(FileDataRecord, fileMD5) - sizeof(DataBlockHeader)] = 99;
  fields[396 - sizeof(DataBlockHeader)] = 11;  // certSize
  return BlockOf(fields + "certificate", 1);
}

class StoredFacts : public FileProviderTest {
 protected:
  // The statistics look for the file provider where the registry has it.
  StoredFacts() { machine.SetText(kKey, LARDER_WIDE("szDLL"), LARDER_WIDE("feed-file.dll")); }

  static FeedStatsRecord Figures() {
    const ProviderModule stats(BesideProgram(LARDER_WIDE("feed-stats.dll")));
    return RecordAt<FeedStatsRecord>(QueryOf(*stats, Descriptor(LARDER_WIDE("any"))));
  }

  std::string Md5Of(const WideString& of, std::uint32_t option) const {
    const DbBuffer block = QueryOf(*provider, Descriptor(of), option);
    if (block.data == nullptr) return "none";
    return PayloadOf(block).substr(offsetof(FileDataRecord, fileMD5) - sizeof(DataBlockHeader), 16);
  }

  std::string WriteFailure(const Descriptor& file, DbBuffer block) const {
    return TextThrownBy([&] { WriteTo(*provider, file, std::move(block)); });
  }

  static std::string CannotStore(const WideString& file) {
    return "Can't store facts about \"" + platform::Utf8FromWide(file) + "\": ";
  }

  const WideString path = MakeFile(LARDER_WIDE("file"), "abcd");
};

TEST_F(StoredFacts, AreGivenInsteadOfComputedOnesAndCounted) {
  const DbBuffer stored = QueryUntilStored(path);
  FeedStatsRecord before = Figures();
  while (before.storeEntries == 0) before = Figures();  // until it is written
  EXPECT_EQ(before.storeEntries, 1u);
  EXPECT_GE(before.storeBytes, 400u);
  EXPECT_EQ(before.storeHits, 1u);
  EXPECT_GE(before.filesComputed, 1u);
  EXPECT_EQ(before.storeRefused, before.filesComputed - 1);
  EXPECT_EQ(before.storeMisses, 2 * before.filesComputed - 1);
  EXPECT_NE(before.storeSince, 0u);
  QueryOf(*provider, Descriptor(path));
  QueryOf(*provider, Descriptor(path, InfoOf(path).lastModified));
  const FeedStatsRecord after = Figures();
  EXPECT_EQ(after.storeHits, before.storeHits + 2);
  EXPECT_EQ(after.filesComputed, before.filesComputed);
  EXPECT_EQ(after.storeMisses, before.storeMisses);
  EXPECT_EQ(PayloadOf(stored),
            PayloadOf(QueryOf(*provider, Descriptor(path), LARDER_FEED_FILE_AFRESH)));
}

TEST_F(StoredFacts, AreNotThereForAFileThatNobodyAskedFor) {
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
  EXPECT_EQ(Md5Of(machine.WideFolder() + LARDER_WIDE("none"), LARDER_FEED_FILE_STORED), "none");
  EXPECT_EQ(Figures().filesComputed, 0u);
  EXPECT_EQ(Figures().storeMisses, 1u);
}

TEST_F(StoredFacts, EndWithAChangeOfTheFileAlsoBehindTheOldTime) {
  const auto native = NativePath(path);
  const std::string first = Md5Of(path, LARDER_FEED_FILE_AFRESH);
  QueryUntilStored(path);
  std::ofstream(native, std::ios::app) << "e";
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
  EXPECT_NE(Md5Of(path, LARDER_FEED_FILE_NOW), first);
  // The runtime may be able to set no other times than these.
  const auto time =
      std::chrono::floor<std::chrono::seconds>(std::filesystem::last_write_time(native));
  std::filesystem::last_write_time(native, time);
  QueryUntilStored(path);
  const platform::FileInfo before = InfoOf(path);
  std::ofstream(native) << "zzzzz";
  std::filesystem::last_write_time(native, time);
  ASSERT_EQ(InfoOf(path).lastModified, before.lastModified);
  ASSERT_EQ(InfoOf(path).size, before.size);
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
}

TEST_F(StoredFacts, MayComeFromAClientUntilTheyAreComputedAfresh) {
  const std::string computed = Md5Of(path, LARDER_FEED_FILE_NOW);
  // Not taken for a file that was made just now.
  const Descriptor file(path, InfoOf(path).lastModified);
  std::string text;
  do {
    text = WriteFailure(file, ForeignRecord());
  } while (text == CannotStore(path) + "the file was changed only a moment ago");
  EXPECT_EQ(text, "(nothing thrown)");
  const DbBuffer found = QueryOf(*provider, Descriptor(path));
  EXPECT_EQ(PayloadOf(found).substr(8), PayloadOf(ForeignRecord()).substr(8)) << "but for its id";
  const DbBuffer afresh = QueryOf(*provider, Descriptor(path), LARDER_FEED_FILE_AFRESH);
  EXPECT_EQ(RecordAt<FileDataRecord>(found).fileId, RecordAt<FileDataRecord>(afresh).fileId);
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), computed);
}

TEST_F(StoredFacts, AreRefusedWithWhatIsWrong) {
  const Descriptor file(path);
  const std::string cannot = CannotStore(path);
  EXPECT_EQ(WriteFailure(file, BlockOf("", 1)), cannot + "8 bytes are too few for a file record");
  EXPECT_EQ(WriteFailure(file, DbBuffer()), cannot + "0 bytes are too few for a file record");
  DbBuffer wrong = ForeignRecord();
  wrong.data[4] = 2;
  EXPECT_EQ(WriteFailure(file, std::move(wrong)), cannot + "its providerType is 2, not 1");
  wrong = ForeignRecord();
  wrong.data[396] = 255;  // certSize
  EXPECT_EQ(WriteFailure(file, std::move(wrong)),
            cannot + "certificate at offset 392 reaches past the end of the record");
  const std::string other = WriteFailure(Descriptor(path, 1), ForeignRecord());
  EXPECT_TRUE(other.ends_with(", not at 1: result -15")) << other;
  const WideString none = machine.WideFolder() + LARDER_WIDE("none");
  EXPECT_EQ(WriteFailure(Descriptor(none), ForeignRecord()),
            CannotStore(none) + "there is no such file");
  EXPECT_EQ(WriteFailure(Descriptor(machine.WideFolder()), ForeignRecord()),
            CannotRead(machine.WideFolder()) + "it is a directory");
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
  EXPECT_EQ(Figures().storeRefused, 7u);
}

TEST_F(StoredFacts, AreRefusedWhileTheFileMayStillChangeUnseen) {
  std::filesystem::last_write_time(
      NativePath(path), std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
  QueryUntilStored(MakeFile(LARDER_WIDE("later"), "abc"));  // so the setting itself is long ago
  EXPECT_EQ(WriteFailure(Descriptor(path), ForeignRecord()),
            CannotStore(path) + "the file was changed only a moment ago");
  EXPECT_NE(Md5Of(path, LARDER_FEED_FILE_NOW), "none");
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
}

TEST(NoStore, IsNoReasonToFailNeitherByChoiceNorByAccident) {
  const ProviderMachine machine;
  const WideString path = machine.AddModule(LARDER_WIDE("feed-file.dll"));
  const auto writeFailure = [&] {
    const ProviderModule provider(path);
    EXPECT_NE(QueryOf(*provider, Descriptor(path)).data, nullptr);
    EXPECT_EQ(QueryOf(*provider, Descriptor(path), LARDER_FEED_FILE_STORED).data, nullptr);
    return TextThrownBy(
        [&] { WriteTo(*provider, Descriptor(path), QueryOf(*provider, Descriptor(path))); });
  };
  machine.SetNumber(kKey, LARDER_WIDE("dwStoreLimitMiB"), 0);
  std::string text = writeFailure();
  while (text.ends_with("moment ago")) text = writeFailure();
  EXPECT_TRUE(text.ends_with(": dwStoreLimitMiB is 0")) << text;
  machine.SetText(kKey, LARDER_WIDE("dwStoreLimitMiB"), LARDER_WIDE("much"));
  WideString data;
  ASSERT_EQ(platform::CommonFolderPath(platform::CommonFolder::kData, data), platform::kSuccess);
  const auto folder = NativePath(data + LARDER_WIDE("\\Velmor\\Larder"));
  std::filesystem::remove_all(folder / "db");
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "db") << "in the way";
  text = writeFailure();
  EXPECT_NE(text.find("Can't create the folder \""), std::string::npos) << text;
}

}  // namespace
}  // namespace larder
