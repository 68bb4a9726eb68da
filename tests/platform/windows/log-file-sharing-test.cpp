#include <windows.h>

#include <gtest/gtest.h>

#include <utility>

#include "platform/file.h"
#include "platform/log-file.h"
#include "platform/machine-fixture.h"
#include "platform/windows/long-folder.h"

namespace larder::platform {
namespace {

class LogFileSharingTest : public MachineTest {
 protected:
  ~LogFileSharingTest() override { CloseObject(file); }

  HANDLE OpenToRead() const {
    return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       OPEN_EXISTING, 0, nullptr);
  }

  WideString path = machine.WideFolder() + L"file.log";
  Handle file = InvalidHandle();
};

TEST_F(LogFileSharingTest, AReaderComesInAnotherWriterDoesNotAndOnlyTheReadWriteModeReads) {
  for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
    ASSERT_EQ(OpenFileToWrite(path, mode, file), kSuccess);
    const HANDLE reader = OpenToRead();
    EXPECT_NE(reader, INVALID_HANDLE_VALUE);
    CloseHandle(reader);
    Handle other = nullptr;
    EXPECT_EQ(OpenFileToWrite(path, WriteMode::kReadWrite, other), kSharingViolation);
    EXPECT_EQ(other, InvalidHandle());
    EXPECT_EQ(OpenFileToWrite(path, WriteMode::kWrite, other), kSharingViolation);
    char byte = 0;
    DWORD got = 0;
    const BOOL read = ReadFile(reinterpret_cast<HANDLE>(file), &byte, 1, &got, nullptr);
    EXPECT_EQ(read != FALSE, mode == WriteMode::kReadWrite);
    CloseObject(std::exchange(file, InvalidHandle()));
  }
}

TEST_F(LogFileSharingTest, AFileThatAReaderHoldsIsNeitherRenamedNorRemoved) {
  ASSERT_EQ(OpenFileToWrite(path, WriteMode::kWrite, file), kSuccess);
  CloseObject(std::exchange(file, InvalidHandle()));
  const HANDLE reader = OpenToRead();
  ASSERT_NE(reader, INVALID_HANDLE_VALUE);
  EXPECT_EQ(RenameFile(path, path + L".1"), kSharingViolation);
  EXPECT_EQ(RemoveFile(path), kSharingViolation);
  CloseHandle(reader);
  EXPECT_EQ(RenameFile(path, path + L".1"), kSuccess);
  EXPECT_EQ(RemoveFile(path + L".1"), kSuccess);
}

TEST_F(LogFileSharingTest, PathsOfAnyLengthAreTaken) {
  path = MakeLongFolder(machine.WideFolder()) + L"file.log";
  ASSERT_EQ(OpenFileToWrite(path, WriteMode::kReadWrite, file), kSuccess);
  EXPECT_EQ(WriteOnce(file, "x", 1), kSuccess);
  CloseObject(std::exchange(file, InvalidHandle()));
  EXPECT_EQ(RenameFile(path, path + L".1"), kSuccess);
  EXPECT_EQ(RemoveFile(path + L".1"), kSuccess);
}

}  // namespace
}  // namespace larder::platform
