#include <gtest/gtest.h>
#include <windows.h>

#include "providers/file-provider-test.h"

namespace larder {
namespace {

class FeedFileOnWindows : public FileProviderTest {};

TEST_F(FeedFileOnWindows, RefusesADevice) {
  const WideString path = LARDER_WIDE("\\\\.\\NUL");
  EXPECT_EQ(FailureOf(path), CannotRead(path) + "it isn't a regular file");
}

TEST_F(FeedFileOnWindows, NamesAFileThatAnotherHasOpenForItselfAlone) {
  const WideString path = MakeFile(LARDER_WIDE("gr\u00FCn"), "abc");
  const HANDLE other =
      CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(other, INVALID_HANDLE_VALUE);
  const std::string text = FailureOf(path);
  CloseHandle(other);
  EXPECT_TRUE(text.starts_with(CannotRead(path))) << text;
  EXPECT_TRUE(text.ends_with(" (code 32)")) << text;
}

TEST_F(FeedFileOnWindows, SharesTheFileWithAWriterAndLeavesItFree) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const HANDLE other =
      CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(other, INVALID_HANDLE_VALUE);
  EXPECT_NE(QueryOf(*provider, Descriptor(path)).data, nullptr);
  CloseHandle(other);
  TextThrownBy([&] { QueryOf(*provider, Descriptor(path, 1)); });
  EXPECT_NE(DeleteFileW(path.c_str()), 0);
}

}  // namespace
}  // namespace larder
