// The modules come and go as a host loads and unloads them.
#include <gtest/gtest.h>

#include "providers/provider-machine.h"
#include "providers/provider-module.h"
#include "testing/modules.h"

namespace larder {
namespace {

class ModuleLife : public testing::TestWithParam<WideString> {
 protected:
  ProviderMachine machine;
  const WideString path = BesideProgram(GetParam());
};

TEST_P(ModuleLife, UnloadsCleanlyEachTimeOverTenLives) {
  for (int i = 0; i < 10; ++i) {
    {
      ProviderModule module(path);
      ASSERT_TRUE(IsModuleLoaded(NativePath(path))) << "life " << i;
      // The module itself is a file that the file provider can read.
      DbBuffer block = QueryOf(*module, Descriptor(path));
      if (block.data != nullptr) FreeQueryOf(*module, block);
      ASSERT_EQ(block.data, nullptr);
    }
    ASSERT_FALSE(IsModuleLoaded(NativePath(path))) << "life " << i;
  }
}

TEST_P(ModuleLife, HasTwoObjectsThatEndIndependently) {
  ModuleFile file(path);
  IDataProvider* first = nullptr;
  IDataProvider* second = nullptr;
  file.GetProvider()(&first);
  file.GetProvider()(&second);
  EXPECT_NE(first, second);
  delete first;
  EXPECT_NE(KeyOf(*second, Descriptor(LARDER_WIDE("any"))), 0u);
  delete second;
}

INSTANTIATE_TEST_SUITE_P(Modules, ModuleLife,
                         testing::Values(LARDER_WIDE("feed-test.dll"), LARDER_WIDE("feed-file.dll"),
                                         LARDER_WIDE("feed-stats.dll"),
                                         LARDER_WIDE("fixtures\\guide-provider.dll"),
                                         LARDER_WIDE("fixtures\\type-1.dll")),
                         [](const testing::TestParamInfo<WideString>& module) {
                           return "Module" + std::to_string(module.index);
                         });

}  // namespace
}  // namespace larder
