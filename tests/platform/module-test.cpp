#include "platform/module.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/module-files.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

class ModuleTest : public ::testing::Test {
 protected:
  ~ModuleTest() override { CloseModule(module); }

  Code Open(const std::filesystem::path& path) {
    CloseModule(module);
    return OpenModule(WidePathOf(path), module);
  }
  // A file in the test's own folder.
  std::filesystem::path Own(const std::string& name, const std::string& content) const {
    const std::filesystem::path path = machine.Folder() / std::filesystem::u8path(name);
    WriteFile(path, content);
    return path;
  }

  TestMachine machine;
  ModuleHandle module = nullptr;
};

TEST_F(ModuleTest, AModuleGivesItsExportsAndNoOthers) {
  ASSERT_EQ(Open(FixtureFolder() / "plain-module.dll"), kSuccess);
  const auto answer = reinterpret_cast<int (*)()>(FindSymbol(module, "LarderTestAnswer"));
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  EXPECT_EQ(FindSymbol(module, "LarderTestQuestion"), nullptr);
  EXPECT_EQ(FindSymbol(module, nullptr), nullptr);
}

TEST_F(ModuleTest, AModuleIsFoundAsLongAsItIsLoaded) {
  const std::filesystem::path path =
      Own("own.dll", FileContent(FixtureFolder() / "plain-module.dll"));
  EXPECT_EQ(FindLoadedModule(WidePathOf(path)), nullptr);
  EXPECT_EQ(FindLoadedModule({}), nullptr);
  ASSERT_EQ(Open(path), kSuccess);
  const ModuleHandle found = FindLoadedModule(WidePathOf(path));
  EXPECT_EQ(FindSymbol(found, "LarderTestAnswer"), FindSymbol(module, "LarderTestAnswer"));
  CloseModule(module);
  module = found;
  EXPECT_NE(FindSymbol(found, "LarderTestAnswer"), nullptr);
}

TEST_F(ModuleTest, AModulesNameCanHoldAnyCharacters) {
  const std::string content = FileContent(FixtureFolder() / "plain-module.dll");
  EXPECT_EQ(Open(Own("gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80.dll", content)), kSuccess);
}

TEST_F(ModuleTest, ANullModuleIsRefusedQuietly) {
  EXPECT_EQ(FindSymbol(nullptr, "LarderTestAnswer"), nullptr);
  CloseModule(nullptr);
}

TEST_F(ModuleTest, AMissingModuleIsNotFound) {
  EXPECT_EQ(Open(machine.Folder() / "missing.dll"), kModuleNotFound);
  EXPECT_EQ(module, nullptr);
  EXPECT_EQ(Open(machine.Folder() / "missing" / "missing.dll"), kModuleNotFound);
  EXPECT_EQ(OpenModule(LARDER_WIDE("larder-missing-module.dll"), module), kModuleNotFound);
  EXPECT_EQ(OpenModule(WideString(), module), kModuleNotFound);
  EXPECT_EQ(module, nullptr);
}

TEST_F(ModuleTest, AFileThatIsNoModuleIsABadImage) {
  EXPECT_EQ(Open(Own("text.dll", "This is no module, whatever its name says.\n")), kBadExeFormat);
  EXPECT_EQ(Open(Own("empty.dll", "")), kBadExeFormat);
  EXPECT_EQ(module, nullptr);
}

TEST_F(ModuleTest, ATruncatedModuleIsABadImage) {
  const std::string whole = FileContent(FixtureFolder() / "plain-module.dll");
  for (const std::size_t size : {whole.size() / 2, std::size_t{1000}, std::size_t{100}})
    EXPECT_EQ(Open(Own("cut.dll", whole.substr(0, size))), kBadExeFormat) << size;
}

TEST_F(ModuleTest, ADirectoryIsNoModule) {
  EXPECT_NE(Open(machine.Folder()), kSuccess);
  EXPECT_EQ(module, nullptr);
}

TEST_F(ModuleTest, AModuleWithoutItsDependencyIsNotFound) {
  EXPECT_EQ(Open(FixtureFolder() / "dependent-module.dll"), kModuleNotFound);
  EXPECT_EQ(module, nullptr);
}

TEST_F(ModuleTest, NamesThatCanBeNoFileGiveACode) {
  const WideString cut = machine.WideFolder() + WideString(1, 0) + LARDER_WIDE("x.dll");
  EXPECT_EQ(OpenModule(cut, module), kInvalidName);
  EXPECT_NE(OpenModule(machine.WideFolder() + WideString(5000, 'x'), module), kSuccess);
  EXPECT_NE(OpenModule(WideString(5000, 'x'), module), kSuccess);
  EXPECT_NE(OpenModule(machine.WideFolder() + WideString(1, 0xD800), module), kSuccess);
  EXPECT_EQ(module, nullptr);
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
