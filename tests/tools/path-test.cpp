#include "tools/larder/cli/path.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/machine-fixture.h"

namespace larder::tool {
namespace {

using platform::kInvalidName;
using platform::kNoUnicodeTranslation;
using platform::kSuccess;

class PathTest : public platform::MachineTest {
 protected:
  PathTest() { std::filesystem::current_path(machine.Folder()); }
  ~PathTest() override { std::filesystem::current_path(former); }

  std::filesystem::path former = std::filesystem::current_path();
};

TEST_F(PathTest, ARelativePathIsCompletedWithTheCurrentDirectoryAndAFullOneIsKept) {
  std::string full = platform::Utf8FromWide(InFolder("file"));
  std::ranges::replace(full, '\\', '/');
  std::string deep;
  for (int i = 0; i < 25; ++i) deep += std::string(200, 'd') + '/';
  const std::pair<std::string, WideString> cases[] = {
      {"file.bin", InFolder("file.bin")},
      {"sub/./gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80",
       InFolder("sub\\gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80")},
      {full, InFolder("file")}};
  WideString path;
  for (const auto& [given, expected] : cases) {
    EXPECT_EQ(FullPath(given, path), kSuccess);
    EXPECT_EQ(path, expected) << given;
  }
  EXPECT_EQ(FullPath(deep + "file", path), kSuccess);
  EXPECT_EQ(path.size(), InFolder(deep + "file").size());
}

TEST_F(PathTest, RefusesWhatCannotBeAPath) {
  WideString path;
  EXPECT_EQ(FullPath("file\xFF", path), kNoUnicodeTranslation);
  EXPECT_EQ(FullPath("", path), kInvalidName);
  EXPECT_EQ(FullPath(std::string("a\0b", 3), path), kInvalidName);
  EXPECT_EQ(path, WideString());
}

}  // namespace
}  // namespace larder::tool
