#include "platform/console.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/utf.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

WideString Wide(const std::string& utf8) {
  WideString wide;
  EXPECT_TRUE(WideFromUtf8(utf8, wide));
  return wide;
}

class ConsoleTest : public ::testing::Test {
 protected:
  ConsoleTest() { std::filesystem::current_path(machine.Folder()); }
  ~ConsoleTest() override { std::filesystem::current_path(former); }

  WideString InFolder(const std::string& name) const { return machine.WideFolder() + Wide(name); }

  std::filesystem::path former = std::filesystem::current_path();
  TestMachine machine;
};

TEST_F(ConsoleTest, ARelativePathIsCompletedWithTheCurrentDirectory) {
  WideString path;
  EXPECT_EQ(FullPath("file.bin", path), kSuccess);
  EXPECT_EQ(path, InFolder("file.bin"));
  EXPECT_EQ(FullPath("sub/./gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80", path), kSuccess);
  EXPECT_EQ(path, InFolder("sub\\gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80"));
}

TEST_F(ConsoleTest, AFullPathStandsAsItIs) {
  WideString path;
  const std::string given = Utf8FromWide(InFolder("file"));
  std::string slashes = given;
  for (char& c : slashes) c = c == '\\' ? '/' : c;
  EXPECT_EQ(FullPath(slashes, path), kSuccess);
  EXPECT_EQ(Utf8FromWide(path), given);
}

TEST_F(ConsoleTest, APathOf5000CharactersIsCompletedAsWell) {
  WideString path;
  const std::string name = std::string(200, 'd') + '/';
  std::string given;
  for (int i = 0; i < 25; ++i) given += name;
  given += "file";
  EXPECT_EQ(FullPath(given, path), kSuccess);
  EXPECT_EQ(path.size(), machine.WideFolder().size() + given.size());
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
}  // namespace larder::platform
