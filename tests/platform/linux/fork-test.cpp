#include <gtest/gtest.h>

#include <utility>

#include "platform/linux/child-process.h"
#include "platform/module-fixture.h"
#include "platform/process.h"

namespace larder::platform {
namespace {

int calls = 0;

TEST(ForkTest, TheFunctionIsCalledOnceInEveryChildAndNotInTheParent) {
  CallInForkedChild([] { ++calls; });
  const auto tellCalls = [] { return calls; };
  EXPECT_EQ(RunInChild(tellCalls), 1);
  EXPECT_EQ(RunInChild(tellCalls), 1);
  EXPECT_EQ(RunInChild([&tellCalls] { return RunInChild(tellCalls); }), 2);
  EXPECT_EQ(calls, 0);
}

int childrenTold = 0;

using ForkingModuleTest = ModuleTest;

TEST_F(ForkingModuleTest, AFunctionIsForgottenWithTheModuleThatGaveIt) {
  const std::filesystem::path file = FixtureFolder() / "forking-module.dll";
  ASSERT_EQ(Open(file), kSuccess);
  using TellChildren = void (*)(int* counter);
  const auto tellChildren =
      reinterpret_cast<TellChildren>(FindSymbol(module, "LarderTestTellChildren"));
  ASSERT_NE(tellChildren, nullptr);
  tellChildren(&childrenTold);
  EXPECT_EQ(RunInChild([] { return childrenTold; }), 1);
  CloseModule(std::exchange(module, nullptr));
  ASSERT_EQ(FindLoadedModule(WidePathOf(file)), nullptr);
  EXPECT_EQ(RunInChild([] { return childrenTold; }), 0);
}

}  // namespace
}  // namespace larder::platform
