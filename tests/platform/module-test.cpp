#include "platform/module.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/module-fixture.h"

namespace larder::platform {
namespace {

TEST_F(ModuleTest, AModuleGivesItsExportsAndNoOthers) {
  ASSERT_EQ(Open(FixtureFolder() / "plain-module.dll"), kSuccess);
  EXPECT_EQ(Answer(module), 42);
  EXPECT_EQ(FindSymbol(module, "LarderTestQuestion"), nullptr);
  EXPECT_EQ(FindSymbol(module, nullptr), nullptr);
  EXPECT_EQ(FindSymbol(nullptr, "LarderTestAnswer"), nullptr);
  CloseModule(nullptr);
}

TEST_F(ModuleTest, AModuleIsFoundAsLongAsItIsLoaded) {
  const std::string name = "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80.dll";
  Write(name, PlainModule());
  EXPECT_EQ(FindLoadedModule(InFolder(name)), nullptr);
  EXPECT_EQ(FindLoadedModule({}), nullptr);
  ASSERT_EQ(Open(Native(name)), kSuccess);
  const ModuleHandle found = FindLoadedModule(InFolder(name));
  EXPECT_EQ(FindSymbol(found, "LarderTestAnswer"), FindSymbol(module, "LarderTestAnswer"));
  CloseModule(module);
  module = found;
  EXPECT_EQ(Answer(found), 42);
}

TEST_F(ModuleTest, AMissingModuleOrDependencyIsNotFound) {
  for (const WideString& path :
       {InFolder("missing.dll"), InFolder("missing\\missing.dll"), WideString(),
        Wide("larder-missing-module.dll"), WidePathOf(FixtureFolder() / "dependent-module.dll")}) {
    EXPECT_EQ(OpenModule(path, module), kModuleNotFound) << Utf8FromWide(path);
    EXPECT_EQ(module, nullptr);
  }
}

TEST_F(ModuleTest, AFileThatIsNoModuleIsABadImage) {
  Write("text.dll", "This is no module, whatever its name says.\n");
  Write("empty.dll");
  const std::string whole = PlainModule();
  Write("cut.dll", whole.substr(0, whole.size() / 2));
  for (const char* name : {"text.dll", "empty.dll", "cut.dll"}) {
    EXPECT_EQ(Open(Native(name)), kBadExeFormat) << name;
    EXPECT_EQ(module, nullptr);
  }
}

TEST_F(ModuleTest, NamesThatCanBeNoFileGiveACode) {
  EXPECT_EQ(OpenModule(InFolder(std::string("a\0x.dll", 7)), module), kInvalidName);
  for (const WideString& path :
       {machine.WideFolder() + WideString(5000, 'x'), WideString(5000, 'x'),
        machine.WideFolder() + WideString(1, 0xD800), WidePathOf(machine.Folder())}) {
    EXPECT_NE(OpenModule(path, module), kSuccess) << Utf8FromWide(path);
    EXPECT_EQ(module, nullptr);
  }
}

TEST_F(ModuleTest, TheHostImageIsThisProgram) {
  WideString image;
  ASSERT_EQ(HostImagePath(image), kSuccess);
  const std::string path = Utf8FromWide(image);
  EXPECT_NE(path.find("\\platform-module-test"), std::string::npos) << path;
  EXPECT_EQ(path.find('/'), std::string::npos) << path;
}

}  // namespace
}  // namespace larder::platform
