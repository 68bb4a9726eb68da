#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/file-fixture.h"
#include "platform/path.h"
#include "platform/windows/long-folder.h"

namespace larder::platform {
namespace {

using FileNameTest = FileTest;

HANDLE MakeAndHold(const WideString& path) {
  const HANDLE made = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  EXPECT_NE(made, INVALID_HANDLE_VALUE);
  return made;
}

TEST_F(FileNameTest, AFileWithALongPathIsOpened) {
  const WideString path = MakeLongFolder(machine.WideFolder()) + L"file";
  const WideString longForm = L"\\\\?\\" + path;
  CloseHandle(MakeAndHold(longForm));
  WideString slashes = path;
  std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
  for (const WideString& spelling : {longForm, path, slashes}) {
    EXPECT_EQ(Open(spelling), kSuccess);
    EXPECT_EQ(kind, FileKind::kRegular);
    EXPECT_NE(file, InvalidHandle());
  }
}

TEST_F(FileNameTest, ADeviceIsToldOrRefusedAtOnceAndNeverGivesAFile) {
  for (const wchar_t* name : {L"NUL", L"CON", L"\\\\.\\NUL", L"nul.txt"}) {
    kind = FileKind::kRegular;
    const Code code = Open(name);
    EXPECT_EQ(file, InvalidHandle()) << code;
    EXPECT_TRUE(code != kSuccess || kind == FileKind::kOther) << code;
  }
}

TEST_F(FileNameTest, APipeIsToldAndNotKept) {
  const WideString name = L"\\\\.\\pipe\\larder-test-" + std::to_wstring(GetCurrentProcessId());
  const HANDLE server =
      CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 64, 64, 0, nullptr);
  ASSERT_NE(server, INVALID_HANDLE_VALUE);
  ExpectNotOpened(name, FileKind::kOther);
  CloseHandle(server);
}

TEST_F(FileNameTest, AFileThatOthersMayNotReadIsASharingViolationButTold) {
  const WideString path = machine.WideFolder() + L"held";
  const HANDLE holder = MakeAndHold(path);
  EXPECT_EQ(Open(path), kSharingViolation);
  FileInfo info;
  EXPECT_EQ(QueryPathInfo(path, info, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_NE(info.changed, 0u);
  CloseHandle(holder);
  EXPECT_EQ(Open(path), kSuccess);
}

TEST_F(FileNameTest, CaseTellsNoFilesApart) {
  EXPECT_EQ(FoldCase(L"c:\\b\u00FC \u0444"), L"C:\\B\u00DC \u0424");
  EXPECT_EQ(FoldCase({}), WideString());
}

}  // namespace
}  // namespace larder::platform
