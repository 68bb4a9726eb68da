#include <gtest/gtest.h>

#include <filesystem>

#include "testing/test-machine.h"
#include "tools/larder/cli/console.h"

namespace larder::tool {
namespace {

using platform::kFileNotFound;
using platform::kInvalidName;
using platform::kSuccess;

TEST(FullPathTest, OnlyTheTextOfAPathIsCleanedUp) {
  const struct {
    const char* given;
    const char16_t* full;
  } cases[] = {{"/", u"\\"},
               {"/.", u"\\"},
               {"//usr//./lib/.", u"\\usr\\lib"},
               {"/missing/../other", u"\\missing\\..\\other"},
               {"/.hidden/...", u"\\.hidden\\..."}};
  WideString result;
  for (const auto& c : cases) {
    EXPECT_EQ(FullPath(c.given, result), kSuccess) << c.given;
    EXPECT_EQ(result, c.full);
  }
  EXPECT_EQ(FullPath("/a\\b", result), kInvalidName);
}

TEST(FullPathTest, ARelativePathBelowADirectoryThatIsGoneGivesACode) {
  const std::filesystem::path former = std::filesystem::current_path();
  TestMachine machine;
  std::filesystem::create_directory(machine.Folder() / "gone");
  std::filesystem::current_path(machine.Folder() / "gone");
  std::filesystem::remove(machine.Folder() / "gone");
  WideString result;
  EXPECT_EQ(FullPath("file", result), kFileNotFound);
  std::filesystem::current_path(former);
}

}  // namespace
}  // namespace larder::tool
