#include <gtest/gtest.h>
#include <larder/provider.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

namespace {

bool IsMemoryExhausted = false;

}  // namespace

// Arrays of this program come from here, so that a test can let an allocation fail.
void* operator new[](std::size_t size) {
  void* const block = IsMemoryExhausted ? nullptr : std::malloc(size + 1);
  return block != nullptr ? block : throw std::bad_alloc();
}
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

namespace {

static_assert(!std::is_copy_constructible_v<DbBuffer> && !std::is_copy_assignable_v<DbBuffer>);

DbBuffer Holding(const char* text) {
  DbBuffer buffer;
  buffer.Copy(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
  return buffer;
}

std::string Contents(const DbBuffer& buffer) {
  return std::string(reinterpret_cast<const char*>(buffer.data), buffer.size);
}

bool IsEmpty(const DbBuffer& buffer) { return buffer.data == nullptr && buffer.size == 0; }

// The address sanitizer reports what is leaked or freed twice.
TEST(DbBuffer, OwnsItsBlockUntilItIsReleased) {
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

TEST(DbBuffer, CopyReplacesTheContentsOrKeepsThemWhenMemoryIsExhausted) {
  DbBuffer buffer = Holding("old contents");
  buffer.Copy(buffer.data + 4, 8);  // from inside the old contents
  EXPECT_EQ(Contents(buffer), "contents");
  IsMemoryExhausted = true;
  EXPECT_THROW(buffer.Copy(buffer.data, 3), std::bad_alloc);
  EXPECT_THROW(DbBuffer{3}, std::bad_alloc);
  IsMemoryExhausted = false;
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
