// The modules come and go as a host loads and unloads them.
#include <gtest/gtest.h>

#include "providers/provider-machine.h"
#include "providers/provider-module.h"
#include "testing/modules.h"

namespace larder {
namespace {

struct Module {
  const LarderWideChar* name;
  std::int32_t type;
};

// Two objects that end independently; the module itself is a file that the file provider can read.
void LiveOnce(const Module& module, const WideString& path) {
  const ModuleFile file(path);
  ASSERT_TRUE(IsModuleLoaded(NativePath(path)));
  IDataProvider* first = nullptr;
  IDataProvider* second = nullptr;
  file.GetProvider()(&first);
  file.GetProvider()(&second);
  EXPECT_NE(first, second);
  EXPECT_EQ(first->GetType(), module.type);
  delete first;
  DbBuffer block = QueryOf(*second, Descriptor(path));
  if (block.data != nullptr) FreeQueryOf(*second, block);
  EXPECT_EQ(block.data, nullptr);
  delete second;
}

TEST(ModuleLife, EachModuleUnloadsCleanlyTenTimes) {
  const ProviderMachine machine;
  for (const Module& module :
       {Module{LARDER_WIDE("feed-test.dll"), 2}, Module{LARDER_WIDE("feed-file.dll"), 1},
        Module{LARDER_WIDE("feed-stats.dll"), 3},
        Module{LARDER_WIDE("fixtures\\guide-provider.dll"), 4}}) {
    const WideString path = BesideProgram(module.name);
    for (int life = 0; life < 10; ++life) {
      LiveOnce(module, path);
      ASSERT_FALSE(IsModuleLoaded(NativePath(path))) << "type " << module.type << ", life " << life;
    }
  }
}

}  // namespace
}  // namespace larder
