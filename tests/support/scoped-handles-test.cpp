#include "support/scoped-handles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <utility>

#include "fakes/fake-handle.h"
#include "testing/recorded-log.h"

namespace larder {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

platform::Handle HandleOf(std::uintptr_t value) {
  return reinterpret_cast<platform::Handle>(value);
}

static_assert(!std::is_copy_constructible_v<AutoHandle> && !std::is_copy_assignable_v<AutoHandle>);
static_assert(std::is_assignable_v<AutoHandle&, platform::Handle>);
static_assert(!std::is_assignable_v<AutoModuleHandle&, platform::ModuleHandle>);
static_assert(!std::is_assignable_v<AutoRegKeyHandle&, platform::RegistryKey>);

TEST(ScopedHandle, EveryDestructorWritesItsLineAndAnEmptyOneClosesNothing) {
  const RecordedLog log;
  { const AutoHandle handle; }
  { const AutoModuleHandle module; }
  { const AutoRegKeyHandle key; }
  EXPECT_THAT(log.Lines(),
              ElementsAre("TRACE: Closing handle FFFFFFFFFFFFFFFF",
                          "TRACE: Unloading module handle 0000000000000000",
                          "TRACE: Destroying AutoRegKeyHandle handle 0000000000000000"));
  EXPECT_THAT(ClosedHandles(), IsEmpty());
  { const AutoHandle null(nullptr); }
  EXPECT_THAT(ClosedHandles(), ElementsAre(nullptr)) << "null isn't the empty value";
}

TEST(ScopedHandle, MovingEmptiesTheSourceAndAssigningClosesTheOldHandleWithoutALine) {
  const RecordedLog log;
  {
    AutoHandle first(HandleOf(0x10));
    AutoHandle second(HandleOf(0x20));
    AutoHandle third(std::move(first));
    EXPECT_TRUE(first.IsEmpty());  // NOLINT(bugprone-use-after-move)
    third = std::move(second);
    third = HandleOf(0x30);
    third = platform::InvalidHandle();
    EXPECT_THAT(ClosedHandles(), ElementsAre(HandleOf(0x10), HandleOf(0x20), HandleOf(0x30)));
    EXPECT_THAT(log.Lines(), IsEmpty());
  }
  EXPECT_EQ(log.Lines().size(), 3U);
  EXPECT_EQ(ClosedHandles().size(), 3U);
}

}  // namespace
}  // namespace larder
