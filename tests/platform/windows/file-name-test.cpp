#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/file.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

class FileNameTest : public ::testing::Test {
 protected:
  ~FileNameTest() override { CloseObject(file); }

  Code Open(const WideString& path) {
    CloseObject(file);
    return OpenFileToRead(path, file, kind);
  }

  TestMachine machine;
  Handle file = InvalidHandle();
  FileKind kind = FileKind::kRegular;
};

TEST_F(FileNameTest, AFileWithALongPathIsOpened) {
  WideString folder = L"\\\\?\\" + machine.WideFolder();
  for (int level = 0; level < 4; ++level) {
    folder += WideString(100, L'd') + L'\\';
    ASSERT_NE(CreateDirectoryW(folder.c_str(), nullptr), FALSE);
  }
  const WideString path = folder + L"file";
  const HANDLE made = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(made, INVALID_HANDLE_VALUE);
  CloseHandle(made);
  for (const WideString& spelling : {path, path.substr(4)}) {
    EXPECT_EQ(Open(spelling), kSuccess);
    EXPECT_EQ(kind, FileKind::kRegular);
    EXPECT_NE(file, InvalidHandle());
  }
  WideString slashes = path.substr(4);
  for (wchar_t& unit : slashes) unit = unit == L'\\' ? L'/' : unit;
  EXPECT_EQ(Open(slashes), kSuccess);
}

TEST_F(FileNameTest, ADeviceIsToldOrRefusedAtOnceAndNeverGivesAFile) {
  for (const wchar_t* name : {L"NUL", L"CON", L"\\\\.\\NUL", L"nul.txt"}) {
    kind = FileKind::kRegular;
    const Code code = Open(name);
    EXPECT_EQ(file, InvalidHandle()) << code;
    if (code == kSuccess) {
      EXPECT_EQ(kind, FileKind::kOther);
    }
  }
}

TEST_F(FileNameTest, APipeIsToldAndNotKept) {
  const WideString name = L"\\\\.\\pipe\\larder-test-" + std::to_wstring(GetCurrentProcessId());
  const HANDLE server =
      CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 64, 64, 0, nullptr);
  ASSERT_NE(server, INVALID_HANDLE_VALUE);
  EXPECT_EQ(Open(name), kSuccess);
  EXPECT_EQ(kind, FileKind::kOther);
  EXPECT_EQ(file, InvalidHandle());
  CloseHandle(server);
}

TEST_F(FileNameTest, AFileThatOthersMayNotReadIsASharingViolation) {
  const WideString path = machine.WideFolder() + L"held";
  const HANDLE holder =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(holder, INVALID_HANDLE_VALUE);
  EXPECT_EQ(Open(path), kSharingViolation);
  CloseHandle(holder);
  EXPECT_EQ(Open(path), kSuccess);
}

TEST_F(FileNameTest, CaseTellsNoFilesApart) {
  EXPECT_EQ(FoldCase(L"c:\\b\u00FC \u0444"), L"C:\\B\u00DC \u0424");
  EXPECT_EQ(FoldCase({}), WideString());
}

TEST_F(FileNameTest, ALookNeedsNoShare) {
  const WideString path = machine.WideFolder() + L"held";
  const HANDLE holder =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(holder, INVALID_HANDLE_VALUE);
  FileInfo info;
  EXPECT_EQ(LookAtFile(path, info, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_NE(info.changed, 0u);
  CloseHandle(holder);
}

}  // namespace
}  // namespace larder::platform
