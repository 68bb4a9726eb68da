// Sessions, blocks and errors of the C++ client layer.
#include <gtest/gtest.h>
#include <larder/feed-stats.h>
#include <larder/client.hpp>

#include <cstring>
#include <fstream>
#include <string>

#include "host/host-machine.h"
#include "testing/process.h"

namespace larder {
namespace {

constexpr std::int32_t kTestType = 2;
const std::byte kBlock[12] = {std::byte{12}};

class Client : public testing::Test {
 protected:
  Client() {
    host.AddProvider("FeedTest", "feed-test.dll");
    host.AddProvider("FeedFile", "feed-file.dll");
    host.AddProvider("FeedStats", "feed-stats.dll");
    host.AddModule("stock-file-query.dll");
  }

  [[nodiscard]] bool IsProviderLoaded() const {
    return IsModuleLoaded(host.machine.Folder() / "feed-test.dll");
  }
  // Stores a block under a name and queries it.
  static Block BlockOf(const Session& session, const char* name = "name") {
    alignas(DataBlockHeader) std::byte block[sizeof kBlock];
    std::memcpy(block, kBlock, sizeof block);
    const FileObject object(name);
    session.Write(kTestType, object.Descriptor(), block);
    return session.Query(kTestType, object.Descriptor()).value();
  }

  HostMachine host;
};

// CMake reads the text, and programs compare the numbers.
TEST(Version, HasTheSameNumbersAsItsText) {
  std::string text = std::to_string(LARDER_VERSION_MAJOR);
  for (const int number : {LARDER_VERSION_MINOR, LARDER_VERSION_PATCH})
    text += "." + std::to_string(number);
  EXPECT_EQ(text, LARDER_VERSION_TEXT);
}

TEST_F(Client, TheProvidersStayLoadedUntilTheLastBlockIsFreed) {
  std::optional<Session> session(std::in_place);
  EXPECT_TRUE(session->IsFirst());
  std::optional<Block> block = BlockOf(*session);
  session.reset();
  EXPECT_TRUE(IsProviderLoaded());
  EXPECT_EQ(block->Bytes().size(), sizeof kBlock);
  EXPECT_FALSE(Session().IsFirst());
  block.reset();
  EXPECT_FALSE(IsProviderLoaded());
  EXPECT_EQ(LarderRelease(), LARDER_E_INVALID_HANDLE);
}

TEST_F(Client, MovedObjectsReleaseAndFreeOnce) {
  {
    Session first;
    Session second(std::move(first));
    first = Session();
    second = std::move(first);  // releases the reference of the session that it was
    EXPECT_THROW(static_cast<void>(first.Query(kTestType, FileObject("a").Descriptor())), Error);
    EXPECT_FALSE(second.IsFirst());
    Block block = BlockOf(second);
    Block moved = std::move(block);
    EXPECT_TRUE(block.Bytes().empty());
    EXPECT_THROW(static_cast<void>(block.As<DataBlockHeader>()), RecordError);
    block = BlockOf(second, "other");
    moved = std::move(block);
    EXPECT_EQ(moved.Bytes().size(), sizeof kBlock);
    moved = BlockOf(second);

    const auto stats = second.Query(LARDER_FEED_STATS_TYPE, FileObject("any").Descriptor());
    const auto counts = stats.value().As<FeedStatsRecord>(LARDER_FEED_STATS_FIRST_SIZE);
    EXPECT_EQ(counts.queryCalls, 1U);
    EXPECT_EQ(counts.providerType, LARDER_FEED_STATS_TYPE);
  }
  EXPECT_FALSE(IsProviderLoaded());
}

TEST_F(Client, ABlockOfAnotherTypeIsNoFileRecord) {
  const Session session;
  const FileObject object("record");
  auto record = MakeFileRecord({}, {});
  session.Write(kTestType, object.Descriptor(), record);
  EXPECT_THROW(FileRecord{session.Query(kTestType, object.Descriptor()).value()}, RecordError);
}

TEST_F(Client, ErrorsHaveTheCodeAndItsText) {
  const Session session;
  const auto failure = [&](std::int32_t type, const char* name) -> std::string {
    try {
      static_cast<void>(session.Query(type, FileObject(name).Descriptor()));
    } catch (const Error& error) {
      return std::to_string(error.Code()) + ' ' + error.what();
    }
    return "none";
  };
  EXPECT_EQ(failure(5, "a"), "-4 LarderQuery: Generic error (-4)");
  EXPECT_EQ(failure(kTestType, "fail:query=code:7"), "7 LarderQuery: code 7");
  EXPECT_EQ(failure(kTestType, "fail:query=code:0"), "none");
  EXPECT_EQ(failure(kTestType, "fail:query=empty"), "none");
  EXPECT_THROW(Session(nullptr), Error);
}

TEST_F(Client, ABlockShorterThanItSaysIsntWritten) {
  const Session session;
  const FileObject object("name");
  auto block = MakeFileRecord({}, {});
  const auto all = std::span<const std::byte>(block);
  for (const std::size_t size : {0U, 4U, 7U, 399U}) {
    EXPECT_THROW(session.Write(kTestType, object.Descriptor(), all.first(size)), RecordError);
  }
  EXPECT_THROW(session.Write(kTestType, object.Descriptor(), all.subspan(1)), RecordError);
}

TEST_F(Client, AFilesModificationTimeSelectsItsVersion) {
  const Session session;
  const auto file = host.machine.Folder() / "file";
  std::ofstream(file) << "abc";
  // Before 1970, with a fraction that is no multiple of 100 ns where the file system has such.
  const std::chrono::file_clock::duration times[] = {
      std::filesystem::last_write_time(file).time_since_epoch(),
      std::chrono::file_clock::from_sys(
          std::chrono::sys_time<std::chrono::nanoseconds>(std::chrono::nanoseconds(-1'500'000'050)))
          .time_since_epoch()};
  for (std::size_t i = 0; i < std::size(times); ++i) {
    if (i > 0) std::filesystem::last_write_time(file, std::filesystem::file_time_type(times[i]));
    const std::uint64_t time = LastModified(file);
    EXPECT_EQ(Hex(session.QueryFile(FileObject(file, time)).value().Facts().fileSHA256),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_TRUE(session.QueryFile(file).has_value());
    for (const std::uint64_t other : {time - 1, time + 1, time + (std::uint64_t{1} << 32)}) {
      try {
        static_cast<void>(session.QueryFile(FileObject(file, other)));
        ADD_FAILURE() << other;
      } catch (const Error& error) {
        EXPECT_EQ(error.Code(), LARDER_E_FILE_ID_MISMATCH);
      }
    }
  }
  EXPECT_FALSE(session.QueryFile(host.machine.Folder() / "none").has_value());
  EXPECT_THROW(LastModified(host.machine.Folder() / "none"), std::filesystem::filesystem_error);
}

}  // namespace
}  // namespace larder
