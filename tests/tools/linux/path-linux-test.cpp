#include <gtest/gtest.h>

#include <filesystem>

#include "testing/test-machine.h"
#include "tools/larder/cli/path.h"

namespace larder::tool {
namespace {

TEST(FullPathTest, OnlyTheTextOfAPathIsCleanedUp) {
  const std::pair<const char*, const char16_t*> cases[] = {
      {"/.", u"\\"},
      {"//usr//./lib/.", u"\\usr\\lib"},
      {"/missing/../.other/...", u"\\missing\\..\\.other\\..."}};
  WideString result;
  for (const auto& [given, full] : cases) {
    EXPECT_EQ(FullPath(given, result), platform::kSuccess) << given;
    EXPECT_EQ(result, full);
  }
}

TEST(FullPathTest, ARelativePathBelowADeletedDirectoryIsNotFound) {
  const std::filesystem::path former = std::filesystem::current_path();
  TestMachine machine;
  std::filesystem::current_path(machine.Folder());
  std::filesystem::remove(machine.Folder());
  WideString result;
  EXPECT_EQ(FullPath("file", result), platform::kFileNotFound);
  std::filesystem::current_path(former);
}

}  // namespace
}  // namespace larder::tool
