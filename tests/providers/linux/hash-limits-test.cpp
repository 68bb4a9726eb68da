// The hashing where the system has nothing left for a second thread.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "stock-file-query/hash/file-hasher.h"

namespace larder::feed {
namespace {

TEST(FileHasherOnLinux, ComputesAloneWhereNoEventCanBeMade) {
  const platform::AutoDigestLibrary library = platform::OpenDigestLibrary();
  const std::string text(kSizeForTwoThreads + 1, 'x');
  const ReadBlock read = [&](std::uint64_t offset, void* buffer, std::size_t room) {
    return text.copy(static_cast<char*>(buffer), room, offset);
  };
  const HashedFile expected = HashFile(*library, text.size(), std::nullopt, read);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none = {0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const HashedFile found = HashFile(*library, text.size(), std::nullopt, read);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(found.bytesRead, text.size());
  EXPECT_EQ(found.file.md5, expected.file.md5);
  EXPECT_EQ(found.file.sha512, expected.file.sha512);
}

}  // namespace
}  // namespace larder::feed
