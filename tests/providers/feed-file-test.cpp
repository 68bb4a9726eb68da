// The file provider, as the built module with real files: its answers, its query module and its
// store, with the figures that the statistics provider has of it.
#include <larder/feed-stats.h>

#include <chrono>
#include <system_error>
#include <thread>

#include "common/object-identity.h"
#include "platform/folder.h"
#include "platform/log-file.h"
#include "providers/provider-test.h"
#include "testing/process.h"

namespace larder {
namespace {

constexpr std::uint32_t kOptions[] = {LARDER_FEED_FILE_NOW, LARDER_FEED_FILE_STORED,
                                      LARDER_FEED_FILE_AFRESH};
class FeedFile : public FileProviderTest {
 protected:
  static std::uint64_t TimeOf(const WideString& path) { return InfoOf(path).lastModified; }
};

// The digests were computed with md5sum, sha1sum, sha256sum, sha384sum and sha512sum.
TEST_F(FeedFile, AnswersWithTheDigestsOfTheBytes) {
  std::string bytes(3 * 1024 * 1024 + 17, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  const DbBuffer block = QueryOf(*provider, Descriptor(MakeFile(LARDER_WIDE("file"), bytes)));
  const auto record = RecordIn<FileDataRecord>(block);
  EXPECT_EQ(record.dataSize, 400u);
  EXPECT_EQ(block.size, 400u);
  EXPECT_EQ(record.providerType, 1);
  EXPECT_NE(record.fileId, 0u);
  std::string digests;
  for (std::size_t i = 16; i < offsetof(FileDataRecord, peMD5); ++i) {
    for (const int digit : {block.data[i] / 16, block.data[i] % 16}) {
      digests += "0123456789abcdef"[digit];
    }
  }
  EXPECT_EQ(digests,
            "3cacfeb0e5eae924bc5b00641499aca4"
            "d7341a729b5627b9f3f5c810cf11690c0d37019d"
            "8584f829d64341d188b979f0984ba5615cde6af240c53ff26b023037146d3afb"
            "a6a328db3ff52198a78e519623745a5e4ec2bd9a3e74ff341d561287a7fb32ba"
            "da0fcbf36b50789a66f84b5bae97490d"
            "c61d2f0c2d081c95b862e799c013bb19f39ad2455d321516a065415f3ff91e2a"
            "ee3eaeec82892b7670cd39c75d30d942471b3f3f2f3c7b3d3e99d626c876404d");
  EXPECT_TRUE(std::all_of(block.data + offsetof(FileDataRecord, peMD5), block.data + block.size,
                          [](unsigned char byte) { return byte == 0; }))
      << "neither an image nor signed";
  EXPECT_EQ(RecordOf(MakeFile(LARDER_WIDE("empty"), "")).fileMD5[0], 0xd4);
}

TEST_F(FeedFile, IdentifiesAFileWhateverItsContents) {
  const WideString path = MakeFile(LARDER_WIDE("one"), "abc");
  const std::uint64_t fileId = RecordOf(path).fileId;
  EXPECT_NE(RecordOf(MakeFile(LARDER_WIDE("two"), "abc")).fileId, fileId);
  std::ofstream(PathOf(path), std::ios::app) << "more";
  EXPECT_EQ(RecordOf(path).fileId, fileId);
}

TEST_F(FeedFile, ReportsAnotherTimeByTheCodeOfAMismatch) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const std::uint64_t time = TimeOf(path);
  EXPECT_NE(QueryOf(*provider, Descriptor(path, time)).data, nullptr);
  for (const std::uint32_t option : kOptions) {
    const std::uint64_t other = time ^ (std::uint64_t{1} << 32);
    EXPECT_EQ(TextThrownBy([&] { QueryOf(*provider, Descriptor(path, other), option); }),
              '"' + platform::Utf8FromWide(path) + "\" was last modified at " +
                  std::to_string(time) + ", not at " + std::to_string(other) + ": result -15");
  }
  EXPECT_THROW(QueryOf(*provider, Descriptor(path, time + 1)), std::system_error);
  EXPECT_EQ(KeyOf(*provider, Descriptor(path, 1)), KeyOf(*provider, Descriptor(path, 2)));
}

TEST_F(FeedFile, HasNoDataForAMissingFileAndRefusesDirectories) {
  const WideString folder = machine.WideFolder();
  for (const WideString& path :
       {folder + LARDER_WIDE("no file"), folder + LARDER_WIDE("no folder\\file"), {0xD800}}) {
    EXPECT_FALSE(HasData(path));
    EXPECT_EQ(QueryOf(*provider, Descriptor(path, 1)).data, nullptr);
  }
  for (const std::uint32_t option : kOptions) {
    for (const WideString& path : {folder, folder.substr(0, folder.size() - 1)}) {
      EXPECT_EQ(FailureOf(path, option), CannotRead(path) + "it is a directory");
    }
  }
  EXPECT_EQ(FailureOf({}), "The descriptor's path is empty");
  EXPECT_EQ(FailureOf(folder, 3), "The file provider has no query option 3; it must be 0, 1 or 2");
}

const WideString kStock = LARDER_WIDE("stock-file-query.dll");

class QueryModuleTest : public testing::Test {
 protected:
  QueryModuleTest() {
    SetEnvironmentText("LARDER_FIXTURE_LOG", (machine.Folder() / "events").string());
  }
  ~QueryModuleTest() override { SetEnvironmentText("LARDER_FIXTURE_LOG", ""); }

  void Name(const WideString& text) const {
    machine.SetText(kFeedFileKey, LARDER_WIDE("szFileQuery"), text);
  }
  bool IsLoaded(const WideString& name) const {
    return IsModuleLoaded(machine.Folder() / PathOf(name));
  }
  std::string Failure() const {
    const ModuleFile file(provider);
    return TextThrownBy([&] { file.CreateProvider(); });
  }
  std::string CannotUse(const WideString& name) const {
    return "Can't use the query module " + feed::Quoted(machine.WideFolder() + name) + ": ";
  }

  const ProviderMachine machine;
  const WideString provider = BesideProgram(LARDER_WIDE("feed-file.dll"));
};

TEST_F(QueryModuleTest, TheStockOneIsLoadedAsLongAsTheProviderLivesIfNoneIsNamed) {
  std::optional<ProviderModule> loaded(provider);
  EXPECT_TRUE(IsLoaded(kStock));
  loaded.reset();
  EXPECT_FALSE(IsLoaded(kStock));
  Name({});
  loaded.emplace(provider);
  EXPECT_TRUE(IsLoaded(kStock)) << "an empty text names none";
}

TEST_F(QueryModuleTest, TheNamedOneIsUsedAndOneThatCannotBeUsedIsNamedWithTheReason) {
  const std::pair<WideString, std::string> unusable[] = {
      {LARDER_WIDE("feed-test.dll"), "it doesn't export GetFileQuery"},
      // The reason outlives the module that gives it.
      {LARDER_WIDE("fixtures\\get-file-query-throws.dll"), "get-file-query-throws fails"},
      {LARDER_WIDE("fixtures\\no-file-query.dll"), "GetFileQuery created no object"}};
  for (const auto& [module, reason] : unusable) {
    machine.AddModule(module);
    const WideString name = module.substr(module.rfind(u'\\') + 1);
    Name(name);
    EXPECT_EQ(Failure(), CannotUse(name) + reason);
    EXPECT_FALSE(IsLoaded(name)) << reason;
  }
  machine.AddModule(LARDER_WIDE("fixtures\\file-query-throws.dll"));
  Name(LARDER_WIDE("file-query-throws.dll"));
  {
    const ProviderModule loaded(provider);
    EXPECT_FALSE(IsLoaded(kStock));
    EXPECT_EQ(TextThrownBy([&] { QueryOf(*loaded, Descriptor(LARDER_WIDE("any"))); }),
              "Query of file-query-throws fails");
  }
  EXPECT_EQ(ContentOf(machine.Folder() / "events"),
            "get-file-query-throws loaded\nget-file-query-throws unloaded\n"
            "no-file-query loaded\nno-file-query unloaded\n"
            "file-query-throws loaded\nfile-query-throws created\n"
            "file-query-throws destroyed\nfile-query-throws unloaded\n");
}

TEST_F(QueryModuleTest, AValueThatCannotBeUsedIsNamedWithItsKey) {
  const std::string value =
      "Can't read the registry value \"szFileQuery\" of the key "
      "\"Software\\Velmor\\Larder\\DataProviders\\FeedFile\": ";
  machine.SetNumber(kFeedFileKey, LARDER_WIDE("szFileQuery"), 1);
  EXPECT_EQ(Failure(), value + "it isn't of type REG_SZ");
  Name(WideString(99, u'x'));
  EXPECT_EQ(Failure(), value + "it has more than 98 characters");
  Name(WideString(98, u'x'));
  EXPECT_THAT(Failure(), testing::AllOf(testing::StartsWith(CannotUse(WideString(98, u'x'))),
                                        testing::EndsWith(" (126)")));
}

// A record that no file has: an MD5 of its own, and a certificate. Some byte may be another one.
DbBuffer ForeignRecord(std::size_t changedOffset = 16, unsigned char value = 99) {
  DbBuffer block = BlockOf(std::string(400 - sizeof(DataBlockHeader), '\0') + "certificate", 1);
  block.data[offsetof(FileDataRecord, fileMD5)] = 99;
  block.data[396] = 11;  // certSize
  block.data[changedOffset] = value;
  return block;
}

class StoredFacts : public FeedFile {
 protected:
  // The statistics find the file provider by the registry.
  StoredFacts() {
    machine.SetText(kFeedFileKey, LARDER_WIDE("szDLL"), LARDER_WIDE("feed-file.dll"));
  }
  void SetUp() override { SKIP_IF_NOTHING_IS_STORED(path); }

  static FeedStatsRecord Figures() {
    const ProviderModule stats(BesideProgram(LARDER_WIDE("feed-stats.dll")));
    return RecordIn<FeedStatsRecord>(QueryOf(*stats, Descriptor(LARDER_WIDE("any"))));
  }

  // Those of a file that was changed a moment ago aren't stored.
  DbBuffer QueryUntilStored(const WideString& of) const {
    for (;;) {
      HasData(of);
      DbBuffer block = QueryOf(*provider, Descriptor(of), LARDER_FEED_FILE_STORED);
      if (block.data != nullptr) return block;
    }
  }

  // The first byte will do.
  int Md5Of(const WideString& of, std::uint32_t option = LARDER_FEED_FILE_NOW) const {
    return RecordOf(of, option).fileMD5[0];
  }

  // The text behind "Can't store facts about ...: ", or another whole text.
  std::string WriteFailure(const WideString& of, DbBuffer block, std::uint64_t time = 0) const {
    const std::string begin = "Can't store facts about \"" + platform::Utf8FromWide(of) + "\": ";
    const std::string text =
        TextThrownBy([&] { WriteTo(*provider, Descriptor(of, time), std::move(block)); });
    return text.starts_with(begin) ? text.substr(begin.size()) : text;
  }

  const WideString path = MakeFile(LARDER_WIDE("file"), "abcd");
};

TEST_F(StoredFacts, AreGivenInsteadOfComputedOnesAndCounted) {
  EXPECT_FALSE(HasData(path, LARDER_FEED_FILE_STORED));
  EXPECT_FALSE(HasData(path + LARDER_WIDE("x"), LARDER_FEED_FILE_STORED));
  EXPECT_EQ(Figures().storeMisses, 1u) << "a missing file isn't looked up";
  const DbBuffer stored = QueryUntilStored(path);
  FeedStatsRecord before = Figures();
  while (before.storeEntries == 0) before = Figures();  // until it is written
  EXPECT_GE(before.storeBytes, 400u);
  EXPECT_EQ(before.storeHits, 1u);
  EXPECT_EQ(before.storeRefused, before.filesComputed - 1);
  EXPECT_EQ(before.storeMisses, 2 * before.filesComputed);
  EXPECT_NE(before.storeSince, 0u);
  EXPECT_EQ(PayloadOf(QueryOf(*provider, Descriptor(path, TimeOf(path)))), PayloadOf(stored));
  EXPECT_EQ(Figures().storeHits, 2u);
  EXPECT_EQ(Figures().filesComputed, before.filesComputed);
  EXPECT_EQ(PayloadOf(QueryOf(*provider, Descriptor(path), LARDER_FEED_FILE_AFRESH)),
            PayloadOf(stored));
  EXPECT_EQ(Figures().filesComputed, before.filesComputed + 1);
}

TEST_F(StoredFacts, EndWithAChangeOfTheFileEvenIfItsTimeIsSetBack) {
  const auto native = PathOf(path);
  // The runtime may be able to set no other times than these.
  const auto time =
      std::chrono::floor<std::chrono::seconds>(std::filesystem::last_write_time(native));
  std::filesystem::last_write_time(native, time);
  for (const char* const content : {"abcde", "fghij"}) {
    const int before = Md5Of(path, LARDER_FEED_FILE_AFRESH);
    QueryUntilStored(path);
    std::ofstream(native) << content;
    std::filesystem::last_write_time(native, time);
    EXPECT_FALSE(HasData(path, LARDER_FEED_FILE_STORED));
    EXPECT_NE(Md5Of(path), before);
  }
}

TEST_F(StoredFacts, MayComeFromAClientUntilTheyAreComputedAfresh) {
  const int computed = RecordIn<FileDataRecord>(QueryUntilStored(path)).fileMD5[0];
  EXPECT_EQ(WriteFailure(path, ForeignRecord(), TimeOf(path)), "(nothing thrown)");
  const DbBuffer found = QueryOf(*provider, Descriptor(path));
  EXPECT_EQ(PayloadOf(found).substr(8), PayloadOf(ForeignRecord()).substr(8)) << "but for its id";
  EXPECT_EQ(RecordIn<FileDataRecord>(found).fileId, RecordOf(path, LARDER_FEED_FILE_AFRESH).fileId);
  EXPECT_EQ(Md5Of(path, LARDER_FEED_FILE_STORED), computed);
}

TEST_F(StoredFacts, AreRefusedWithTheReason) {
  EXPECT_EQ(WriteFailure(path, BlockOf("", 1)), "8 bytes are too few for a file record");
  EXPECT_EQ(WriteFailure(path, ForeignRecord(4, 2)), "its providerType is 2, not 1");
  EXPECT_EQ(WriteFailure(path, ForeignRecord(396, 255)),
            "certificate at offset 392 reaches past the end of the record");
  EXPECT_THAT(WriteFailure(path, ForeignRecord(), 1), testing::EndsWith(", not at 1: result -15"));
  const WideString folder = machine.WideFolder();
  EXPECT_EQ(WriteFailure(folder + LARDER_WIDE("none"), ForeignRecord()), "there is no such file");
  EXPECT_EQ(WriteFailure(folder, ForeignRecord()), CannotRead(folder) + "it is a directory");
  EXPECT_FALSE(HasData(path, LARDER_FEED_FILE_STORED));
  EXPECT_EQ(Figures().storeRefused, 6u);
}

TEST_F(StoredFacts, AreRefusedWhileAProgramHasTheFileOpenForWriting) {
  platform::OwnedHandle writer;
  ASSERT_EQ(platform::OpenFileToWrite(path, platform::WriteMode::kWrite, writer.Out()), 0u);
  std::string failure;
  do {
    failure = WriteFailure(path, ForeignRecord());
  } while (failure.ends_with("moment ago"));
  EXPECT_EQ(failure, "a program has the file open for writing, or mapped");
  EXPECT_TRUE(HasData(path, LARDER_FEED_FILE_NOW));
  EXPECT_FALSE(HasData(path, LARDER_FEED_FILE_STORED));
  writer = {};
  QueryUntilStored(path);
}

TEST_F(StoredFacts, CanBeUsedByEightThreads) {
  const WideString large = MakeFile(LARDER_WIDE("large"), std::string(0x180000, 'x'));
  const int md5 = Md5Of(large);
  std::vector<std::thread> threads;
  for (LarderWideChar name = u'a'; name < u'i'; ++name) {
    threads.emplace_back([&, own = MakeFile(WideView(&name, 1), "abcd")] {
      for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Md5Of(large, i % 4 == 0 ? LARDER_FEED_FILE_AFRESH : LARDER_FEED_FILE_NOW), md5);
        QueryUntilStored(own);
        EXPECT_EQ(WriteFailure(own, ForeignRecord()), "(nothing thrown)");
        EXPECT_EQ(Md5Of(own, LARDER_FEED_FILE_STORED), 99);
      }
      EXPECT_GT(Figures().storeEntries, 0u);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(NoStore, IsNoReasonToFailWhetherByChoiceOrByAccident) {
  const ProviderMachine machine;
  const WideString path = machine.AddModule(LARDER_WIDE("feed-file.dll"));
  SKIP_IF_NOTHING_IS_STORED(path);
  const Descriptor file(path);
  const auto expectRefusal = [&](const std::string& reason) {
    const ProviderModule provider(path);
    std::string text;
    do {
      text = TextThrownBy([&] { WriteTo(*provider, file, QueryOf(*provider, file)); });
    } while (text.ends_with("moment ago"));
    EXPECT_THAT(text, testing::HasSubstr(reason));
    EXPECT_EQ(QueryOf(*provider, file, LARDER_FEED_FILE_STORED).data, nullptr);
  };
  machine.SetNumber(kFeedFileKey, LARDER_WIDE("dwStoreLimitMiB"), 0);
  expectRefusal(": dwStoreLimitMiB is 0");
  machine.SetText(kFeedFileKey, LARDER_WIDE("dwStoreLimitMiB"), LARDER_WIDE("much"));
  WideString data;
  ASSERT_EQ(platform::CommonFolderPath(platform::CommonFolder::kData, data), platform::kSuccess);
  const auto folder = PathOf(data + LARDER_WIDE("\\Velmor\\Larder\\db"));
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder.parent_path());
  std::ofstream(folder) << "in the way";
  expectRefusal("\" isn't a folder");
}

}  // namespace
}  // namespace larder
