#include "platform/linux/native-path.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/errno-code.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

TEST(NativePathTest, BackslashesBecomeSlashesAndComeBack) {
  std::string native;
  WideString wide;
  EXPECT_EQ(NativePath(u"\\usr\\lib\\gr\u00FC\u00DF\U0001F600.dll", native), kSuccess);
  EXPECT_EQ(native, "/usr/lib/gr\xC3\xBC\xC3\x9F\xF0\x9F\x98\x80.dll");
  EXPECT_EQ(WidePath(native, wide), kSuccess);
  EXPECT_EQ(wide, u"\\usr\\lib\\gr\u00FC\u00DF\U0001F600.dll");
  wide = u"before";
  EXPECT_EQ(WidePath("/a/b\\c", wide), kInvalidName);
  EXPECT_EQ(WidePath("/a/\xFF", wide), kNoUnicodeTranslation);
  EXPECT_EQ(wide, u"before");
}

TEST(NativePathTest, TheMachineRootHasNoSlashAtItsEnd) {
  TestMachine machine;
  const std::string root = MachineRoot();
  EXPECT_TRUE(std::filesystem::is_empty(root));
  setenv("LARDER_ROOT", (root + "//").c_str(), 1);
  EXPECT_EQ(MachineRoot(), root);
  for (const char* real : {"//", ""}) {
    setenv("LARDER_ROOT", real, 1);
    EXPECT_EQ(MachineRoot(), "");
  }
  unsetenv("LARDER_ROOT");
  EXPECT_EQ(MachineRoot(), "");
}

// Those that no test of this layer brings about.
TEST(ErrnoCodeTest, ErrorsHaveTheirCodesAndNoneIsASuccess) {
  EXPECT_EQ(CodeFromErrno(EMFILE), 4u);
  EXPECT_EQ(CodeFromErrno(EROFS), 5u);
  EXPECT_EQ(CodeFromErrno(EBADF), 6u);
  EXPECT_EQ(CodeFromErrno(ENOSPC), 112u);
  EXPECT_EQ(CodeFromErrno(EPIPE), 31u);
  for (int error = -1; error < 200; ++error) EXPECT_NE(CodeFromErrno(error), kSuccess) << error;
}

}  // namespace
}  // namespace larder::platform
