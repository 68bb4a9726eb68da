#include "tools/larder/cli/console.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/machine-fixture.h"

namespace larder::tool {
namespace {

using platform::kInvalidName;
using platform::kNoUnicodeTranslation;
using platform::kSuccess;
using platform::Utf8FromWide;
using platform::Wide;

class ConsoleTest : public platform::MachineTest {
 protected:
  ConsoleTest() { std::filesystem::current_path(machine.Folder()); }
  ~ConsoleTest() override { std::filesystem::current_path(former); }

  std::filesystem::path former = std::filesystem::current_path();
};

TEST_F(ConsoleTest, ARelativePathIsCompletedWithTheCurrentDirectoryAndAFullOneStands) {
  WideString path;
  EXPECT_EQ(FullPath("file.bin", path), kSuccess);
  EXPECT_EQ(path, InFolder("file.bin"));
  EXPECT_EQ(FullPath("sub/./gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80", path), kSuccess);
  EXPECT_EQ(path, InFolder("sub\\gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80"));
  std::string slashes = Utf8FromWide(InFolder("file"));
  std::replace(slashes.begin(), slashes.end(), '\\', '/');
  EXPECT_EQ(FullPath(slashes, path), kSuccess);
  EXPECT_EQ(path, InFolder("file"));
  std::string deep;
  for (int i = 0; i < 25; ++i) deep += std::string(200, 'd') + '/';
  EXPECT_EQ(FullPath(deep + "file", path), kSuccess);
  EXPECT_EQ(path.size(), InFolder(deep + "file").size());
}

TEST_F(ConsoleTest, BytesThatAreNoUtf8AreNoPath) {
  WideString path = Wide("before");
  EXPECT_EQ(FullPath("file\xFF", path), kNoUnicodeTranslation);
  EXPECT_EQ(FullPath("", path), kInvalidName);
  EXPECT_EQ(FullPath(std::string("a\0b", 3), path), kInvalidName);
  EXPECT_EQ(path, Wide("before"));
}

TEST_F(ConsoleTest, AFileIsNoTerminal) {
  std::size_t columns = 7;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(IsErrorTerminal(columns));
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(columns, 7u);
}

}  // namespace
}  // namespace larder::tool
