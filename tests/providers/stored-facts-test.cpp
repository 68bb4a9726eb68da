// When the file provider answers from its store, and what can be written there; as the built module
// with real files, and with its figures as the statistics provider tells them.
#include <gtest/gtest.h>
#include <larder/feed-file.h>
#include <larder/feed-stats.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>

#include "platform/file.h"
#include "platform/folder.h"
#include "providers/file-provider-test.h"

namespace larder {
namespace {

class StoredFacts : public FileProviderTest {
 protected:
  // The statistics look for the file provider where the registry has it.
  StoredFacts() {
    machine.SetText(LARDER_WIDE("DataProviders\\FeedFile"), LARDER_WIDE("szDLL"),
                    LARDER_WIDE("feed-file.dll"));
  }

  static FeedStatsRecord Figures() {
    const ProviderModule stats(BesideProgram(LARDER_WIDE("feed-stats.dll")));
    const DbBuffer block = QueryOf(*stats, Descriptor(LARDER_WIDE("any")));
    FeedStatsRecord record{};
    EXPECT_EQ(block.size, sizeof record);
    std::memcpy(&record, block.data, sizeof record);
    return record;
  }

  std::string Md5Of(const WideString& path, std::uint32_t option) const {
    const DbBuffer block = QueryOf(*provider, Descriptor(path), option);
    if (block.data == nullptr) return "none";
    return {reinterpret_cast<const char*>(block.data) + offsetof(FileDataRecord, fileMD5), 16};
  }

  static platform::FileInfo InfoOf(const WideString& path) {
    platform::FileInfo info;
    platform::FileKind kind{};
    EXPECT_EQ(platform::LookAtFile(path, info, kind), platform::kSuccess);
    return info;
  }

  // The runtime may be able to set no other times than these.
  static std::filesystem::file_time_type SetWholeSeconds(const WideString& path) {
    const auto native = NativePath(path);
    const auto time =
        std::chrono::floor<std::chrono::seconds>(std::filesystem::last_write_time(native));
    std::filesystem::last_write_time(native, time);
    return time;
  }

  // Waits until a record that is written for the file is taken, which a file that was made just now
  // prevents.
  void WriteUntilTaken(const Descriptor& file, const DbBuffer& block) const {
    const std::string tooYoung = "the file was changed only a moment ago";
    std::string text = tooYoung;
    while (text.ends_with(tooYoung)) {
      text = TextThrownBy([&] { WriteTo(*provider, file, CopyOf(block)); });
    }
    EXPECT_EQ(text, "(nothing thrown)");
  }

  static DbBuffer CopyOf(const DbBuffer& block) {
    DbBuffer copy;
    copy.Copy(block.data, block.size);
    return copy;
  }

  // A record that no reading of a file would make.
  static DbBuffer ForeignRecord() {
    struct {
      FileDataRecord file;
      CertChainRecord chain;
      CertDataRecord certificate;
      char bytes[12];
    } record{};
    record.file.dataSize = sizeof record;
    record.file.providerType = 1;
    record.file.fileMD5[0] = 99;
    record.certificate.certSize = 12;
    std::memcpy(record.bytes, "certificate", 12);
    DbBuffer block;
    block.Copy(reinterpret_cast<const unsigned char*>(&record), sizeof record);
    return block;
  }

  std::string WriteFailure(const Descriptor& file, const DbBuffer& block) const {
    return TextThrownBy([&] { WriteTo(*provider, file, CopyOf(block)); });
  }

  static std::string CannotStore(const WideString& path) {
    return "Can't store facts about \"" + platform::Utf8FromWide(path) + "\": ";
  }
};

TEST_F(StoredFacts, AreGivenInsteadOfComputedOnes) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const DbBuffer computed = QueryOf(*provider, Descriptor(path));
  const DbBuffer stored = QueryUntilStored(path);
  EXPECT_EQ(PayloadOf(stored), PayloadOf(computed));
  const FeedStatsRecord before = Figures();
  FreeAny(QueryOf(*provider, Descriptor(path)));
  FreeAny(QueryOf(*provider, Descriptor(path, InfoOf(path).lastModified)));
  const FeedStatsRecord after = Figures();
  EXPECT_EQ(after.storeHits, before.storeHits + 2);
  EXPECT_EQ(after.filesComputed, before.filesComputed);
  EXPECT_EQ(after.storeMisses, before.storeMisses);
}

TEST_F(StoredFacts, OutliveTheProvider) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  {
    const ProviderModule other(machine.WideFolder() + LARDER_WIDE("feed-file.dll"));
    FreeAny(QueryUntilStored(path));
  }
  EXPECT_NE(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
}

TEST_F(StoredFacts, AreNotThereForAFileThatNobodyAskedFor) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
  EXPECT_EQ(Md5Of(machine.WideFolder() + LARDER_WIDE("none"), LARDER_FEED_FILE_STORED), "none");
  EXPECT_EQ(Figures().filesComputed, 0u);
  EXPECT_EQ(Figures().storeMisses, 1u);
}

TEST_F(StoredFacts, EndWithEveryChangeOfTheFile) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const auto native = NativePath(path);
  const std::string first = Md5Of(path, LARDER_FEED_FILE_AFRESH);
  FreeAny(QueryUntilStored(path));
  std::ofstream(native, std::ios::app) << "d";
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none") << "longer";
  EXPECT_NE(Md5Of(path, LARDER_FEED_FILE_NOW), first);
  FreeAny(QueryUntilStored(path));
  std::ofstream(native) << "abcx";
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none") << "another time";
  const auto time = SetWholeSeconds(path);
  FreeAny(QueryUntilStored(path));
  // The same size and the same time, but another file.
  const WideString other = MakeFile(LARDER_WIDE("other"), "zzzz");
  std::filesystem::last_write_time(NativePath(other), time);
  const std::string zzzz = Md5Of(other, LARDER_FEED_FILE_AFRESH);
  std::filesystem::rename(NativePath(other), native);
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none") << "another file";
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_NOW), zzzz);
}

TEST_F(StoredFacts, EndWithAChangeThatHidesBehindTheOldTime) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abcd");
  const auto time = SetWholeSeconds(path);
  FreeAny(QueryUntilStored(path));
  const platform::FileInfo before = InfoOf(path);
  std::ofstream(NativePath(path)) << "zzzz";
  std::filesystem::last_write_time(NativePath(path), time);
  ASSERT_EQ(InfoOf(path).lastModified, before.lastModified);
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
}

TEST_F(StoredFacts, AreComputedAfreshWhereThatIsAskedFor) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const std::string computed = Md5Of(path, LARDER_FEED_FILE_NOW);
  WriteUntilTaken(Descriptor(path), ForeignRecord());
  EXPECT_NE(Md5Of(path, LARDER_FEED_FILE_NOW), computed);
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_AFRESH), computed);
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), computed);
}

TEST_F(StoredFacts, MayComeFromAClient) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const DbBuffer record = ForeignRecord();
  WriteUntilTaken(Descriptor(path, InfoOf(path).lastModified), record);
  DbBuffer found = QueryOf(*provider, Descriptor(path));
  ASSERT_EQ(found.size, record.size);
  FileDataRecord file{};
  std::memcpy(&file, found.data, sizeof file);
  const DbBuffer computed = QueryOf(*provider, Descriptor(path), LARDER_FEED_FILE_AFRESH);
  EXPECT_EQ(std::memcmp(&file.fileId, computed.data + offsetof(FileDataRecord, fileId), 8), 0);
  file.fileId = 0;
  std::memcpy(found.data, &file, sizeof file);
  EXPECT_EQ(PayloadOf(found), PayloadOf(record));
}

TEST_F(StoredFacts, AreRefusedWithWhatIsWrong) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const Descriptor file(path);
  const std::string cannot = CannotStore(path);
  EXPECT_EQ(WriteFailure(file, BlockOf("", 1)), cannot + "8 bytes are too few for a file record");
  EXPECT_EQ(WriteFailure(file, DbBuffer()), cannot + "0 bytes are too few for a file record");
  DbBuffer wrong = ForeignRecord();
  wrong.data[4] = 2;
  EXPECT_EQ(WriteFailure(file, wrong), cannot + "its providerType is 2, not 1");
  wrong = ForeignRecord();
  wrong.data[396] = 255;  // certSize
  EXPECT_EQ(WriteFailure(file, wrong),
            cannot + "certificate at offset 392 reaches past the end of the record");
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
  EXPECT_EQ(Figures().storeRefused, 4u);
}

TEST_F(StoredFacts, AreRefusedForAFileThatIsNotTheOneMeant) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const WideString none = machine.WideFolder() + LARDER_WIDE("none");
  const DbBuffer record = ForeignRecord();
  EXPECT_TRUE(WriteFailure(Descriptor(path, 1), record).ends_with(", not at 1: result -15"));
  EXPECT_EQ(WriteFailure(Descriptor(none), record), CannotStore(none) + "there is no such file");
  EXPECT_EQ(WriteFailure(Descriptor(machine.WideFolder()), record),
            CannotRead(machine.WideFolder()) + "it is a directory");
}

TEST_F(StoredFacts, AreRefusedWhileTheFileMayStillChangeUnseen) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  std::filesystem::last_write_time(
      NativePath(path), std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
  EXPECT_EQ(WriteFailure(Descriptor(path), ForeignRecord()),
            CannotStore(path) + "the file was changed only a moment ago");
  EXPECT_NE(Md5Of(path, LARDER_FEED_FILE_NOW), "none");
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), "none");
}

TEST_F(StoredFacts, TellAMismatchAndARefusalAsComputedOnesDo) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  for (const std::uint32_t option : {LARDER_FEED_FILE_NOW, LARDER_FEED_FILE_STORED}) {
    EXPECT_THROW(QueryOf(*provider, Descriptor(path, 1), option), std::system_error);
    EXPECT_EQ(TextThrownBy([&] { Md5Of(machine.WideFolder(), option); }),
              CannotRead(machine.WideFolder()) + "it is a directory");
  }
}

TEST_F(StoredFacts, KnowThreeQueryOptions) {
  EXPECT_EQ(TextThrownBy([&] { Md5Of(LARDER_WIDE("C:\\any"), 3); }),
            "The file provider has no query option 3: 0, 1 and 2 are all");
}

TEST_F(StoredFacts, AreCountedByTheStatistics) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  FreeAny(QueryUntilStored(path));
  FeedStatsRecord figures = Figures();
  while (figures.storeEntries == 0) figures = Figures();  // until it is written
  EXPECT_EQ(figures.storeEntries, 1u);
  EXPECT_GE(figures.storeBytes, 400u);
  EXPECT_EQ(figures.storeHits, 1u);
  EXPECT_GE(figures.filesComputed, 1u);
  EXPECT_EQ(figures.storeRefused, figures.filesComputed - 1);
  EXPECT_EQ(figures.storeMisses, 2 * figures.filesComputed - 1);
  EXPECT_NE(figures.storeSince, 0u);
}

TEST(NoStore, IsNoReasonToFailNeitherByChoiceNorByAccident) {
  const ProviderMachine machine;
  const WideString path = machine.AddModule(LARDER_WIDE("feed-file.dll"));
  const LarderWideChar* const key = LARDER_WIDE("DataProviders\\FeedFile");
  const LarderWideChar* const value = LARDER_WIDE("dwStoreLimitMiB");
  const auto writeFailure = [&] {
    const ProviderModule provider(path);
    EXPECT_NE(QueryOf(*provider, Descriptor(path)).data, nullptr);
    EXPECT_EQ(QueryOf(*provider, Descriptor(path), LARDER_FEED_FILE_STORED).data, nullptr);
    return TextThrownBy(
        [&] { WriteTo(*provider, Descriptor(path), QueryOf(*provider, Descriptor(path))); });
  };
  machine.SetNumber(key, value, 0);
  std::string text = writeFailure();
  while (text.ends_with("moment ago")) text = writeFailure();
  EXPECT_TRUE(text.ends_with(": dwStoreLimitMiB is 0")) << text;
  machine.SetText(key, value, LARDER_WIDE("much"));
  WideString data;
  ASSERT_EQ(platform::CommonFolderPath(platform::CommonFolder::kData, data), platform::kSuccess);
  std::filesystem::create_directories(NativePath(data + LARDER_WIDE("\\Velmor")));
  std::filesystem::remove_all(NativePath(data + LARDER_WIDE("\\Velmor\\Larder\\db")));
  std::filesystem::create_directories(NativePath(data + LARDER_WIDE("\\Velmor\\Larder")));
  std::ofstream(NativePath(data + LARDER_WIDE("\\Velmor\\Larder\\db"))) << "in the way";
  text = writeFailure();
  EXPECT_NE(text.find("Can't make the folder \""), std::string::npos) << text;
}

}  // namespace
}  // namespace larder
