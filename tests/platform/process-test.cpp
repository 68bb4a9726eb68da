#include "platform/process.h"

#include <gtest/gtest.h>

namespace larder::platform {
namespace {

int calls = 0;

TEST(ProcessTest, NothingIsCalledInAProcessThatIsNoChild) {
  CallInForkedChild([] { ++calls; });
  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace larder::platform
