#include "support/paths.h"

#include <gtest/gtest.h>

#include <fstream>

#include "log/log-pieces.h"
#include "testing/recorded-log.h"
#include "testing/test-machine.h"

namespace larder {
namespace {

class Paths : public testing::Test {
 protected:
  void WriteFile(const std::string& name, const std::string& bytes) {
    std::ofstream(machine.Folder() / name, std::ios::binary) << bytes;
  }

  TestMachine machine;
  RecordedLog log;
};

TEST_F(Paths, AreSplitAtTheLastBackslash) {
  EXPECT_EQ(GetPath(LARDER_WIDE("C:\\a\\b.txt")), LARDER_WIDE("C:\\a\\"));
  EXPECT_EQ(GetFileNameInPath(LARDER_WIDE("C:\\a\\b.txt")), LARDER_WIDE("b.txt"));
  EXPECT_EQ(GetFileNameInPath(LARDER_WIDE("b.txt")), LARDER_WIDE("b.txt"));
  EXPECT_EQ(GetFileNameInModuleLocation(LARDER_WIDE("x.dll")),
            GetPath(GetModuleName()) + LARDER_WIDE("x.dll"));
  EXPECT_FALSE(log.Contains("WARN"));
  EXPECT_EQ(GetPath(LARDER_WIDE("b.txt")), LARDER_WIDE(""));
  EXPECT_TRUE(log.Contains(" WARN: Separator not found\r\n"));
}

TEST_F(Paths, ATreeIsCreatedLevelByLevelUnlessAFileIsInTheWay) {
  const WideString folder = machine.WideFolder();
  EXPECT_FALSE(DirectoryExists(folder + LARDER_WIDE("none")));
  EXPECT_TRUE(log.Contains("TRACE: GetFileAttributes() failed for: " + WideToUtf8(folder) +
                           "none " + WideToUtf8(FormatSystemError(2)) + "\r\n"));
  for (const auto* const path : {LARDER_WIDE("a\\b\\c"), LARDER_WIDE("a\\b\\d\\")}) {
    EXPECT_TRUE(CreateDirectoryTree(folder + path));
    EXPECT_TRUE(DirectoryExists(folder + path));
  }
  EXPECT_FALSE(log.Contains("CreateDirectory() failed"));
  WriteFile("file", "x");
  EXPECT_FALSE(CreateDirectoryTree(folder + LARDER_WIDE("file")));
  EXPECT_FALSE(DirectoryExists(folder + LARDER_WIDE("file")));
  EXPECT_TRUE(log.Contains("\\file is not a directory.\r\n"));
  EXPECT_TRUE(log.Contains("TRACE: CreateDirectory() failed for: "));
}

TEST_F(Paths, ALineThatContainsTheTextCountsOnce) {
  const std::string longLine(10000, 'x');
  const struct {
    std::string content;
    const char* text;
    std::uint32_t lines;
  } rows[] = {{"one two\r\ntwo two\nthree\n\ntwo at the end", "two", 3},
              {"two\r\ntwo", "two\r", 0},
              {"one\r\ntwo\n\nthree", "", 4},
              {"", "", 0},
              {longLine + "yz\n" + longLine, "xyz", 1}};
  for (const auto& [content, text, lines] : rows) {
    WriteFile("lines", content);
    EXPECT_EQ(CountLinesContaining(machine.WideFolder() + LARDER_WIDE("lines"), text), lines);
  }
  EXPECT_EQ(CountLinesContaining(machine.WideFolder() + LARDER_WIDE("none"), ""), 0U);
  EXPECT_EQ(CountLinesContaining(machine.WideFolder(), ""), 0U);
}

}  // namespace
}  // namespace larder
