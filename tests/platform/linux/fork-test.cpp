#include <dlfcn.h>
#include <gtest/gtest.h>

#include "platform/linux/child-process.h"
#include "platform/module-fixture.h"
#include "platform/process.h"

namespace larder::platform {
namespace {

int calls = 0;
void Count() { ++calls; }

TEST(ForkTest, TheFunctionIsCalledOnceInEveryChildAndNotInTheParent) {
  CallInForkedChild(Count);
  const auto tellCalls = [] { return calls; };
  EXPECT_EQ(RunInChild(tellCalls), 1);
  EXPECT_EQ(RunInChild(tellCalls), 1);
  EXPECT_EQ(RunInChild([&tellCalls] { return RunInChild(tellCalls); }), 2);
  EXPECT_EQ(calls, 0);
}

int childrenTold = 0;

TEST(ForkTest, AFunctionIsForgottenWithTheModuleThatGaveIt) {
  const std::filesystem::path file = FixtureFolder() / "forking-module.dll";
  void* module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  using TellChildren = void (*)(int* counter);
  const auto tellChildren = reinterpret_cast<TellChildren>(dlsym(module, "LarderTestTellChildren"));
  ASSERT_NE(tellChildren, nullptr);
  tellChildren(&childrenTold);
  EXPECT_EQ(RunInChild([] { return childrenTold; }), 1);
  dlclose(module);
  ASSERT_EQ(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_EQ(RunInChild([] { return childrenTold; }), 0);
}

}  // namespace
}  // namespace larder::platform
