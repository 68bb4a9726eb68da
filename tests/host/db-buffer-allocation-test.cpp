// What happens when there is no memory. The sanitizers' allocators end the process rather than
// fail, so this isn't built with them.
#include <gtest/gtest.h>
#include <larder/provider.h>

#include <cstdint>
#include <limits>
#include <new>

namespace {

constexpr std::uint64_t kTooMuch = std::numeric_limits<std::int64_t>::max();

TEST(DbBufferAllocation, AFailedCopyLeavesTheContentsAsTheyWere) {
  unsigned char source[] = {'o', 'l', 'd'};
  DbBuffer buffer;
  buffer.Copy(source, sizeof source);
  const unsigned char* const block = buffer.data;
  EXPECT_THROW(buffer.Copy(source, kTooMuch), std::bad_alloc);
  EXPECT_THROW(DbBuffer{kTooMuch}, std::bad_alloc);
  ASSERT_EQ(buffer.data, block);
  EXPECT_EQ(buffer.size, sizeof source);
  EXPECT_EQ(std::memcmp(block, source, sizeof source), 0);
}

}  // namespace
