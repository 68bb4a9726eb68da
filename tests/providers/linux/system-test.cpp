// Files that only Linux has, and what it can refuse a process.
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "feed-file/store-folder.h"
#include "feed-file/store-log.h"
#include "platform/file-time.h"
#include "platform/linux/child-process.h"
#include "platform/linux/open-descriptors.h"
#include "providers/provider-test.h"
#include "providers/store-files.h"
#include "stock-file-query/hash/file-hasher.h"

namespace larder::feed {
namespace {

class FeedFileOnLinux : public FileProviderTest {};

TEST_F(FeedFileOnLinux, NamesWhatCannotBeReadAndLeavesNothingOpen) {
  const WideString path = MakeFile(LARDER_WIDE("gr\u00FCn"), "abc");
  HasData(path);  // opens the store
  const std::set<int> before = platform::OpenDescriptors();
  HasData(path);
  const WideString fifo = machine.WideFolder() + LARDER_WIDE("fifo");
  ASSERT_EQ(mkfifo(PathOf(fifo).c_str(), 0666), 0);
  for (const WideString& other : {fifo, WideString(LARDER_WIDE("\\dev\\zero"))}) {
    EXPECT_EQ(FailureOf(other), CannotRead(other) + "it isn't a regular file");
  }
  const WideString status = LARDER_WIDE("\\proc\\self\\status");
  EXPECT_THAT(FailureOf(status),
              testing::StartsWith(CannotRead(status) + "it changed while it was read, twice: 0 "));
  TextThrownBy([&] { QueryOf(*provider, Descriptor(path, 1)); });
  EXPECT_EQ(platform::OpenDescriptors(), before);
  ASSERT_EQ(chmod(PathOf(path).c_str(), 0), 0);
  const std::string denied = CannotRead(path) + "Access is denied. (5)";
  EXPECT_EQ(RunAsNobody([&] { return FailureOf(path) == denied ? 0 : 1; }), 0);
}

TEST_F(FeedFileOnLinux, StoresNothingWhileTheFileIsMappedForWriting) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "good");
  SKIP_IF_NOTHING_IS_STORED(path);
  const int writer = open(PathOf(path).c_str(), O_RDWR | O_CLOEXEC);
  void* const mapping = mmap(nullptr, 4, PROT_READ | PROT_WRITE, MAP_SHARED, writer, 0);
  close(writer);
  ASSERT_NE(mapping, MAP_FAILED);
  std::memcpy(mapping, "Good", 4);  // from now on, writes change no time
  for (const std::uint64_t stamp = InfoOf(path).changed; platform::FileStampTime() <= stamp;) {
  }
  const auto md5 = [&](std::uint32_t option) { return RecordOf(path, option).fileMD5[0]; };
  const int good = md5(LARDER_FEED_FILE_NOW);
  std::memcpy(mapping, "evil", 4);
  EXPECT_NE(md5(LARDER_FEED_FILE_NOW), good);
  EXPECT_FALSE(HasData(path, LARDER_FEED_FILE_STORED));
  munmap(mapping, 4);
}

TEST_F(FeedFileOnLinux, TakesNoRecordOfAFileThatMayChangeAgainWithoutANewTime) {
  std::string failure;
  for (int i = 0; i < 1000 && !failure.ends_with("only a moment ago"); ++i) {
    const WideString path = MakeFile(LARDER_WIDE("new"), "abc");
    SKIP_IF_NOTHING_IS_STORED(path);
    DbBuffer record = QueryOf(*provider, Descriptor(path));
    failure = TextThrownBy([&] { WriteTo(*provider, Descriptor(path), std::move(record)); });
  }
  EXPECT_TRUE(failure.ends_with("only a moment ago")) << failure;
}

// A store, and what this system lets happen to its users.
class FactStoreOnLinux : public testing::Test {
 protected:
  FactStoreOnLinux() { std::filesystem::create_directory(data.parent_path()); }

  static constexpr std::uint64_t kLimit = std::uint64_t{64} << 20;
  const TestMachine machine;
  const WideString folder = machine.WideFolder() + LARDER_WIDE("store");
  const std::filesystem::path data = machine.Folder() / "store" / "facts.db";
};

TEST_F(FactStoreOnLinux, TakesAFileThatCannotGrowForNoDamageAndIsNotEndedByIt) {
  { KeepNow(*std::make_unique<FactStore>(folder, kLimit), 0); }
  const int result = RunInChild([&] {
    FactStore store(folder, kLimit);
    const rlimit both = {file_size(data), RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &both);
    const std::string refusal = TextThrownBy([&] {
      for (int i = 1; i < 1000; ++i) KeepNow(store, i, 200'000);
    });
    LogWarning("longer than any file may be");
    return refusal != "(nothing thrown)" && Has(store, 0) ? 0 : 1;
  });
  EXPECT_EQ(result, 0);
  FactStore store(folder, kLimit);
  EXPECT_TRUE(Has(store, 0));
  EXPECT_FALSE(std::filesystem::exists(machine.Folder() / "set-aside"));
}

TEST_F(FactStoreOnLinux, AForkedChildHasNoStoreAndHoldsNoLockOfIt) {
  FactStore store(folder, kLimit);
  KeepNow(store, 0);
  const int result = RunInChild([&] {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code closed;  // of the iterator itself
      const std::string target = std::filesystem::read_symlink(entry, closed).string();
      if (target.starts_with(machine.Folder().string())) return 1;
    }
    FactStore own(folder, kLimit);
    for (FactStore* one : {&store, &own}) {
      if (Has(*one, 0) ||
          TextThrownBy([&] { KeepNow(*one, 1); }).find("forked") == std::string::npos)
        return 2;
    }
    return store.IsOfParent() && !own.IsOfParent() ? 0 : 3;
  });
  EXPECT_EQ(result, 0);
  KeepNow(store, 1);
  EXPECT_TRUE(Has(store, 0) && Has(store, 1));
}

TEST_F(FactStoreOnLinux, KeepsItsLocksWhenTheProcessReadsTheStoresFiles) {
  FactStore store(folder, kLimit);
  KeepNow(store, 0);
  const std::filesystem::path shared = data.string() + "-shm";
  store.VisitAll([&](std::string_view, const platform::FileInfo&, RecordView) {
    ContentOf(shared);
    const int file = open(shared.c_str(), O_RDWR | O_CLOEXEC);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    EXPECT_EQ(fcntl(file, F_OFD_GETLK, &lock), 0);
    EXPECT_NE(lock.l_type, F_UNLCK);
    close(file);
    return true;
  });
}

TEST_F(FactStoreOnLinux, ServesAProcessThatMayOnlyReadWithAndWithoutTheFilesBesideTheDatabase) {
  { KeepNow(*std::make_unique<FactStore>(folder, kLimit), 0); }
  for (auto path = data.parent_path(); path != "/"; path = path.parent_path()) {
    std::filesystem::permissions(
        path, std::filesystem::perms::others_read | std::filesystem::perms::others_exec,
        std::filesystem::perm_options::add);
  }
  for (const char* suffix : {"", "-wal", "-shm"}) chmod((data.string() + suffix).c_str(), 0644);
  for (const bool areThere : {true, false}) {
    if (!areThere) {
      for (const char* suffix : {"-wal", "-shm"}) std::filesystem::remove(data.string() + suffix);
    }
    EXPECT_EQ(RunAsNobody([&] {
                FactStore store(folder, kLimit);
                const std::string refusal = TextThrownBy([&] { KeepNow(store, 1); });
                return (Has(store, 0) ? 0 : 1) +
                       (refusal == "this process has no right to write to the store" ? 0 : 2);
              }),
              0);
  }
}

TEST_F(FactStoreOnLinux, IsNotUsedIfAnotherUserCouldHaveWrittenIt) {
  const ProviderMachine own;
  own.SetText(LARDER_WIDE("Logging"), LARDER_WIDE("szEnable"), LARDER_WIDE("true"));
  const auto whyNone = [] {
    return TextThrownBy(
        [] { FactStore(MakeStoreFolder(), kLimit).VisitAll([](auto&&...) { return true; }); });
  };
  const mode_t mask = umask(0);  // the store's files have their own rights
  { KeepNow(*std::make_unique<FactStore>(MakeStoreFolder(), kLimit), 0); }
  umask(mask);
  EXPECT_EQ(whyNone(), "(nothing thrown)");
  const std::filesystem::path file = PathOf(MakeStoreFolder()) / "facts.db";
  std::filesystem::path path = file;
  for (int level = 0; level < 6; ++level, path = path.parent_path()) {
    const auto former = status(path).permissions();
    permissions(path, former | std::filesystem::perms::others_write);
    EXPECT_THAT(whyNone(), testing::HasSubstr(path.filename().string() + "\" may be written by "));
    permissions(path, former);
    if (geteuid() == 0) {
      EXPECT_EQ(chown(path.c_str(), 12345, 0), 0);
      EXPECT_THAT(whyNone(), testing::HasSubstr("belongs to user 12345"));
      EXPECT_EQ(chown(path.c_str(), 0, 0), 0);
    }
    EXPECT_TRUE(Has(*std::make_unique<FactStore>(MakeStoreFolder(), kLimit), 0));
  }
  rename(file.parent_path(), machine.Folder() / "elsewhere");
  create_directory_symlink(machine.Folder() / "elsewhere", file.parent_path());
  EXPECT_THAT(whyNone(), testing::EndsWith("store\" is a symbolic link"));
  EXPECT_THAT(ContentOf(path / "Velmor/Larder/logs/feedf.log"),
              testing::HasSubstr("store\" is a symbolic link; there is no store"));
}

TEST_F(FactStoreOnLinux, IsSetAsideBesideWhatCannotBeDeleted) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a folder that this user can't delete";
  const std::filesystem::path aside = machine.Folder() / "set-aside";
  const std::filesystem::path kept = machine.Folder() / "kept";
  std::filesystem::create_directory(kept);
  std::ofstream(kept / "file") << "kept";
  std::filesystem::create_symlink(kept, aside);
  EXPECT_EQ(PathOf(SetStoreAside(folder)), aside);
  EXPECT_TRUE(std::filesystem::exists(kept / "file"));
  rename(kept, aside / "foreign");
  for (const auto& path : {machine.Folder(), aside, data.parent_path()}) {
    EXPECT_EQ(chown(path.c_str(), 65534, 65534), 0);
  }
  EXPECT_EQ(
      RunAsNobody([&] { return PathOf(SetStoreAside(folder)) == aside.string() + "-2" ? 0 : 1; }),
      0);
  EXPECT_EQ(ContentOf(aside / "foreign" / "file"), "kept");
}

TEST(FileHasherOnLinux, NeedsNoSecondThread) {
  const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  const std::string text(kSizeForTwoThreads + 1, 'x');
  const ReadBlock read = [&](std::uint64_t offset, void* buffer, std::size_t size) {
    return text.copy(static_cast<char*>(buffer), size, offset);
  };
  const HashedFile expected = HashFile(*library, text.size(), std::nullopt, read);
  const int result = RunInChild([&] {
    const rlimit none = {0, 0};  // no event can be made
    setrlimit(RLIMIT_NOFILE, &none);
    const HashedFile found = HashFile(*library, text.size(), std::nullopt, read);
    return found.bytesRead == text.size() && found.file.sha512 == expected.file.sha512 ? 0 : 1;
  });
  EXPECT_EQ(result, 0);
}

}  // namespace
}  // namespace larder::feed
