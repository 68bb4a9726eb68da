#include <windows.h>

#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "platform/log-file.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

class LogFileSharingTest : public ::testing::Test {
 protected:
  ~LogFileSharingTest() override { CloseObject(file); }

  HANDLE OpenToRead(DWORD share) const {
    return CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
  }

  TestMachine machine;
  WideString path = machine.WideFolder() + L"file.log";
  Handle file = InvalidHandle();
};

TEST_F(LogFileSharingTest, AReaderComesInAndAnotherWriterDoesNot) {
  file = OpenFileToWrite(path, WriteMode::kWrite);
  ASSERT_NE(file, InvalidHandle());
  const HANDLE reader = OpenToRead(FILE_SHARE_READ | FILE_SHARE_WRITE);
  EXPECT_NE(reader, INVALID_HANDLE_VALUE);
  CloseHandle(reader);
  EXPECT_EQ(OpenFileToWrite(path, WriteMode::kReadWrite), InvalidHandle());
  EXPECT_EQ(OpenFileToWrite(path, WriteMode::kWrite), InvalidHandle());
}

TEST_F(LogFileSharingTest, OnlyTheReadWriteModeReads) {
  for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
    file = OpenFileToWrite(path, mode);
    ASSERT_NE(file, InvalidHandle());
    std::array<char, 4> buffer;
    DWORD got = 0;
    const BOOL read = ReadFile(reinterpret_cast<HANDLE>(file), buffer.data(), 4, &got, nullptr);
    EXPECT_EQ(read != FALSE, mode == WriteMode::kReadWrite);
    CloseObject(file);
    file = InvalidHandle();
  }
}

TEST_F(LogFileSharingTest, AFileThatAReaderHoldsIsNeitherRenamedNorRemoved) {
  CloseObject(OpenFileToWrite(path, WriteMode::kWrite));
  const HANDLE reader = OpenToRead(FILE_SHARE_READ | FILE_SHARE_WRITE);
  ASSERT_NE(reader, INVALID_HANDLE_VALUE);
  EXPECT_EQ(RenameFile(path, path + L".1"), kSharingViolation);
  EXPECT_EQ(RemoveFile(path), kSharingViolation);
  CloseHandle(reader);
  EXPECT_EQ(RenameFile(path, path + L".1"), kSuccess);
  EXPECT_EQ(RemoveFile(path + L".1"), kSuccess);
}

TEST_F(LogFileSharingTest, PathsOfAnyLengthAreTaken) {
  WideString folder = L"\\\\?\\" + machine.WideFolder();
  for (int level = 0; level < 4; ++level) {
    folder += WideString(100, L'd') + L'\\';
    ASSERT_NE(CreateDirectoryW(folder.c_str(), nullptr), FALSE);
  }
  const WideString plain = folder.substr(4) + L"file.log";
  file = OpenFileToWrite(plain, WriteMode::kReadWrite);
  ASSERT_NE(file, InvalidHandle());
  EXPECT_EQ(WriteOnce(file, "x", 1), kSuccess);
  CloseObject(file);
  file = InvalidHandle();
  EXPECT_EQ(RenameFile(plain, plain + L".1"), kSuccess);
  EXPECT_EQ(RemoveFile(plain + L".1"), kSuccess);
}

}  // namespace
}  // namespace larder::platform
