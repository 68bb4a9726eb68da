#include "platform/module.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/module-fixture.h"

namespace larder::platform {
namespace {

TEST_F(ModuleTest, AModuleIsFoundAsLongAsItIsLoaded) {
  const std::string name = "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80.dll";
  Write(name, image);
  EXPECT_EQ(FindLoadedModule(InFolder(name)), nullptr);
  EXPECT_EQ(FindLoadedModule({}), nullptr);
  ASSERT_EQ(Open(Native(name)), kSuccess);
  EXPECT_EQ(Answer(), 42);
  EXPECT_EQ(FindSymbol(module.Get(), "LarderTestQuestion"), nullptr);
  EXPECT_EQ(FindSymbol(module.Get(), nullptr), nullptr);
  OwnedModule found(FindLoadedModule(InFolder(name)));
  EXPECT_EQ(FindSymbol(found.Get(), "LarderTestAnswer"),
            FindSymbol(module.Get(), "LarderTestAnswer"));
  module = std::move(found);
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
  for (const WideString& path : {InFolder("") + WideString(5000, 'x'), WideString(5000, 'x'),
                                 InFolder("") + WideString(1, 0xD800), InFolder("")})
    EXPECT_NE(OpenModule(path, none), kSuccess) << Utf8FromWide(path);
}

TEST_F(ModuleTest, TheHostImageIsThisProgram) {
  WideString wide;
  ASSERT_EQ(HostImagePath(wide), kSuccess);
  const std::string path = Utf8FromWide(wide);
  EXPECT_NE(path.find("\\platform-test"), std::string::npos) << path;
  EXPECT_EQ(path.find('/'), std::string::npos) << path;
}

}  // namespace
}  // namespace larder::platform
