#include "platform/module.h"

#include "platform/machine-fixture.h"

namespace larder::platform {
namespace {

TEST_F(ModuleTest, AModuleIsFoundAsLongAsItIsLoaded) {
  const std::string name = "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80.dll";
  Write(name, image);
  EXPECT_EQ(FindLoadedModule(InFolder(name)), nullptr);
  EXPECT_EQ(FindLoadedModule({}), nullptr);
  ASSERT_EQ(Open(Native(name)), kSuccess);
  EXPECT_EQ(FindSymbol(module.Get(), "LarderTestQuestion"), nullptr);
  EXPECT_EQ(FindSymbol(module.Get(), nullptr), nullptr);
  module = OwnedModule(FindLoadedModule(InFolder(name)));
  EXPECT_EQ(Answer(), 42);
  module = {};
  EXPECT_EQ(FindLoadedModule(InFolder(name)), nullptr);
}

TEST_F(ModuleTest, WhatIsNotAModuleOrMissesItsDependencyIsNotOpened) {
  Write("text.dll", "This is not a module, whatever its name says.\n");
  Write("empty.dll");
  Write("cut.dll", image.substr(0, image.size() / 2));
  const std::pair<WideString, Code> cases[] = {
      {InFolder("missing.dll"), kModuleNotFound},
      {InFolder("missing\\missing.dll"), kModuleNotFound},
      {WideString(), kModuleNotFound},
      {Wide("larder-missing-module.dll"), kModuleNotFound},
      {WidePathOf(FixtureFolder() / "dependent-module.dll"), kModuleNotFound},
      {InFolder("text.dll"), kBadExeFormat},
      {InFolder("empty.dll"), kBadExeFormat},
      {InFolder("cut.dll"), kBadExeFormat}};
  ModuleHandle none = nullptr;
  for (const auto& [path, code] : cases) {
    EXPECT_EQ(OpenModule(path, none), code) << Utf8FromWide(path);
    EXPECT_EQ(none, nullptr);
  }
}

}  // namespace
}  // namespace larder::platform
