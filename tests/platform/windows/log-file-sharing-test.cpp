#include <windows.h>

#include <gtest/gtest.h>

#include <utility>

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
    file = OpenFileToWrite(path, mode);
    ASSERT_NE(file, InvalidHandle());
    const HANDLE reader = OpenToRead();
    EXPECT_NE(reader, INVALID_HANDLE_VALUE);
    CloseHandle(reader);
    EXPECT_EQ(OpenFileToWrite(path, WriteMode::kReadWrite), InvalidHandle());
    EXPECT_EQ(OpenFileToWrite(path, WriteMode::kWrite), InvalidHandle());
    char byte = 0;
    DWORD got = 0;
    const BOOL read = ReadFile(reinterpret_cast<HANDLE>(file), &byte, 1, &got, nullptr);
    EXPECT_EQ(read != FALSE, mode == WriteMode::kReadWrite);
    CloseObject(std::exchange(file, InvalidHandle()));
  }
}

TEST_F(LogFileSharingTest, AFileThatAReaderHoldsIsNeitherRenamedNorRemoved) {
  CloseObject(OpenFileToWrite(path, WriteMode::kWrite));
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
  const Handle made = OpenFileToWrite(path, WriteMode::kReadWrite);
  EXPECT_EQ(WriteOnce(made, "x", 1), kSuccess);
  CloseObject(made);
  EXPECT_EQ(RenameFile(path, path + L".1"), kSuccess);
  EXPECT_EQ(RemoveFile(path + L".1"), kSuccess);
}

}  // namespace
}  // namespace larder::platform
