#include "providers/db-buffer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

namespace {
bool IsMemoryExhausted = false;
}

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
  if (buffer.data == nullptr) return "(null) " + std::to_string(buffer.size);
  return std::string(reinterpret_cast<const char*>(buffer.data), buffer.size);
}

constexpr char kEmpty[] = "(null) 0";

// The address sanitizer reports what is leaked or freed twice.
TEST(DbBuffer, OwnsItsBlockUntilItIsReleasedOrMoved) {
  EXPECT_EQ(DbBuffer().Release(), nullptr);
  EXPECT_EQ(Contents(DbBuffer(0)), kEmpty);

  DbBuffer sized(5);
  EXPECT_EQ(sized.size, 5U);
  unsigned char* const block = sized.Release();
  EXPECT_EQ(Contents(sized), kEmpty);

  DbBuffer source = Holding("old");
  source.TakeOwnership(block, 5);
  DbBuffer moved(std::move(source));
  EXPECT_EQ(Contents(source), kEmpty);  // NOLINT(bugprone-use-after-move)
  DbBuffer target = Holding("old");
  target = std::move(moved);
  EXPECT_EQ(Contents(moved), kEmpty);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(target.data, block);
  EXPECT_EQ(target.size, 5U);
  target.Reset();
  EXPECT_EQ(Contents(target), kEmpty);
}

TEST(DbBuffer, CopyReplacesTheContentsOrKeepsThemWhenMemoryIsExhausted) {
  DbBuffer buffer = Holding("old contents");
  buffer.Copy(buffer.data + 4, 8);  // from inside the old contents
  IsMemoryExhausted = true;
  EXPECT_THROW(buffer.Copy(buffer.data, 3), std::bad_alloc);
  IsMemoryExhausted = false;
  EXPECT_EQ(Contents(buffer), "contents");
  buffer.Copy(buffer.data, 0);
  EXPECT_EQ(Contents(buffer), kEmpty);
}

}  // namespace
