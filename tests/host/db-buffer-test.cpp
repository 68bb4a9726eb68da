#include <gtest/gtest.h>
#include <larder/provider.h>

#include <cstdint>
#include <string>

namespace {

std::string Contents(const DbBuffer& buffer) {
  return buffer.data == nullptr
             ? "null"
             : std::string(reinterpret_cast<const char*>(buffer.data), buffer.size);
}

DbBuffer Holding(const char* text) {
  DbBuffer buffer;
  buffer.Copy(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
  return buffer;
}

bool IsEmpty(const DbBuffer& buffer) { return buffer.data == nullptr && buffer.size == 0; }

static_assert(!std::is_copy_constructible_v<DbBuffer> && !std::is_copy_assignable_v<DbBuffer>);

// What is leaked or freed twice here, the address sanitizer tells.
TEST(DbBuffer, OwnsWhatItHoldsAndGivesItAway) {
  DbBuffer empty;
  EXPECT_TRUE(IsEmpty(empty));
  EXPECT_EQ(empty.Release(), nullptr);
  EXPECT_TRUE(IsEmpty(DbBuffer(0)));

  DbBuffer sized(5);
  EXPECT_EQ(sized.size, 5U);
  unsigned char* const block = sized.Release();
  EXPECT_TRUE(IsEmpty(sized));

  DbBuffer holding = Holding("old");
  holding.TakeOwnership(block, 0);
  EXPECT_EQ(holding.data, block);
  EXPECT_EQ(holding.size, 0U);
  holding.Reset();
  EXPECT_TRUE(IsEmpty(holding));
}

TEST(DbBuffer, CopyReplacesTheContents) {
  DbBuffer buffer = Holding("old contents");
  buffer.Copy(buffer.data + 4, 8);  // from inside the old contents
  EXPECT_EQ(Contents(buffer), "contents");
  buffer.Copy(buffer.data, 0);
  EXPECT_TRUE(IsEmpty(buffer));
}

TEST(DbBuffer, MovingEmptiesTheSourceAndCopiesNothing) {
  DbBuffer source = Holding("block");
  const unsigned char* const block = source.data;
  DbBuffer moved(std::move(source));
  EXPECT_TRUE(IsEmpty(source));  // NOLINT(bugprone-use-after-move)
  DbBuffer target = Holding("old");
  target = std::move(moved);
  EXPECT_TRUE(IsEmpty(moved));  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(target.data, block);
  EXPECT_EQ(target.size, 5U);
}

}  // namespace
