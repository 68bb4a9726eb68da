#include "support/paths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "diag/log-pieces.h"
#include "support/registry.h"
#include "support/text.h"
#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class Paths : public testing::Test {
 protected:
  Paths() { machine.UseOwnCommonFolders(); }

  void WriteFile(const std::string& name, const std::string& bytes) {
    std::ofstream(machine.Folder() / name, std::ios::binary) << bytes;
  }

  TestMachine machine;
  RecordedLog log;
};

TEST_F(Paths, AreTakenApartAtTheLastBackslash) {
  EXPECT_EQ(GetPath(LARDER_WIDE("C:\\a\\b.txt")), LARDER_WIDE("C:\\a\\"));
  EXPECT_EQ(GetPath(LARDER_WIDE("C:\\a\\")), LARDER_WIDE("C:\\a\\"));
  EXPECT_EQ(GetPath(LARDER_WIDE("\\x")), LARDER_WIDE("\\"));
  EXPECT_FALSE(log.Contains("WARN"));
  EXPECT_EQ(GetPath(LARDER_WIDE("b.txt")), LARDER_WIDE(""));
  EXPECT_TRUE(log.Contains(" WARN: Separator not found\r\n"));
  log.Clear();
  EXPECT_EQ(GetPath({}), LARDER_WIDE(""));
  EXPECT_TRUE(log.Contains(" WARN: Separator not found\r\n"));
  log.Clear();
  EXPECT_EQ(GetFileNameInPath(LARDER_WIDE("C:\\a\\b.txt")), LARDER_WIDE("b.txt"));
  EXPECT_EQ(GetFileNameInPath(LARDER_WIDE("b.txt")), LARDER_WIDE("b.txt"));
  EXPECT_EQ(GetFileNameInPath(LARDER_WIDE("C:\\a\\")), LARDER_WIDE(""));
  EXPECT_EQ(GetFileNameInPath({}), LARDER_WIDE(""));
  EXPECT_FALSE(log.Contains("WARN"));
  const WideString image = GetModuleName();
  EXPECT_EQ(GetFileNameInModuleLocation(LARDER_WIDE("x.dll")),
            image.substr(0, image.rfind('\\') + 1) + LARDER_WIDE("x.dll"));
}

TEST_F(Paths, TheProductsDirectoriesLieBelowTheSystemsFolders) {
  EXPECT_THAT(WideToUtf8(GetVelmorDataPath()), EndsWith("\\Velmor\\"));
  EXPECT_EQ(GetLarderDataPath(), GetVelmorDataPath() + LARDER_WIDE("Larder\\"));
  EXPECT_NE(GetVelmorDataPath(), GetVelmorProgramPath());
  EXPECT_EQ(GetLarderProgramDir(), GetVelmorProgramPath() + LARDER_WIDE("Larder\\"));
  SetRegistryString(LARDER_WIDE("Install"), LARDER_WIDE("szLocation"), LARDER_WIDE("D:\\run"));
  EXPECT_EQ(GetLarderProgramDir(), LARDER_WIDE("D:\\run")) << "as it stands";
}

TEST_F(Paths, ADirectoryIsToldFromAFileAndFromNothing) {
  WriteFile("file", "x");
  EXPECT_TRUE(DirectoryExists(machine.WideFolder()));
  EXPECT_FALSE(DirectoryExists(machine.WideFolder() + LARDER_WIDE("file")));
  EXPECT_TRUE(log.Contains("\\file is not a directory.\r\n"));
  EXPECT_FALSE(DirectoryExists(machine.WideFolder() + LARDER_WIDE("none")));
  EXPECT_TRUE(log.Contains("TRACE: GetFileAttributes() failed for: "));
  EXPECT_TRUE(log.Contains("\\none " + WideToUtf8(FormatSystemError(2))));
}

TEST_F(Paths, ATreeIsMadeLevelByLevel) {
  const WideString folder = machine.WideFolder();
  EXPECT_TRUE(CreateDirectoryTree(folder + LARDER_WIDE("a\\b\\c")));
  EXPECT_TRUE(std::filesystem::is_directory(machine.Folder() / "a" / "b" / "c"));
  EXPECT_TRUE(CreateDirectoryTree(folder + LARDER_WIDE("a\\b\\d\\")));
  EXPECT_TRUE(std::filesystem::is_directory(machine.Folder() / "a" / "b" / "d"));
  log.Clear();
  EXPECT_TRUE(CreateDirectoryTree(folder + LARDER_WIDE("a\\b")));
  EXPECT_FALSE(log.Contains("CreateDirectory() failed"));
}

TEST_F(Paths, AFileInTheWayEndsTheTree) {
  WriteFile("file", "x");
  EXPECT_FALSE(CreateDirectoryTree(machine.WideFolder() + LARDER_WIDE("file\\b")));
  EXPECT_TRUE(log.Contains("TRACE: CreateDirectory() failed for: "));
  EXPECT_FALSE(CreateDirectoryTree(machine.WideFolder() + LARDER_WIDE("file")));
}

TEST_F(Paths, LinesAreCountedOnceHoweverOftenTheyHoldTheText) {
  WriteFile("lines", "one two\r\ntwo two\nthree\n\ntwo at the end");
  const WideString path = machine.WideFolder() + LARDER_WIDE("lines");
  EXPECT_EQ(CountLinesContaining(path, "two"), 3U);
  EXPECT_EQ(CountLinesContaining(path, "two\r"), 0U);
  EXPECT_EQ(CountLinesContaining(path, ""), 5U);
  EXPECT_EQ(CountLinesContaining(path, "four"), 0U);
  WriteFile("ended", "x\n");
  EXPECT_EQ(CountLinesContaining(machine.WideFolder() + LARDER_WIDE("ended"), ""), 1U);
  WriteFile("empty", "");
  EXPECT_EQ(CountLinesContaining(machine.WideFolder() + LARDER_WIDE("empty"), ""), 0U);
  EXPECT_EQ(CountLinesContaining(machine.WideFolder() + LARDER_WIDE("none"), ""), 0U);
  EXPECT_EQ(CountLinesContaining(machine.WideFolder(), ""), 0U);
  const std::string longLine(10000, 'x');
  WriteFile("long", longLine + "yz\n" + longLine);
  EXPECT_EQ(CountLinesContaining(machine.WideFolder() + LARDER_WIDE("long"), "xyz"), 1U);
}

}  // namespace
}  // namespace larder
