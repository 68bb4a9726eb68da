#include <windows.h>

#include "platform/machine-fixture.h"
#include "platform/path.h"

namespace larder::platform {
namespace {

class FileSystemTest : public FileTest {
 protected:
  // The path of a file in folders so deep that the system takes it in its long form only.
  WideString MakeLongPath() const {
    WideString folder = L"\\\\?\\" + machine.WideFolder();
    for (int level = 0; level < 4; ++level) {
      folder += WideString(100, L'd') + L'\\';
      EXPECT_NE(CreateDirectoryW(folder.c_str(), nullptr), FALSE);
    }
    return folder.substr(4) + L"file";
  }
  static HANDLE OpenNative(const WideString& name, DWORD access, DWORD share) {
    const HANDLE opened =
        CreateFileW(name.c_str(), access, share, nullptr, OPEN_ALWAYS, 0, nullptr);
    EXPECT_NE(opened, INVALID_HANDLE_VALUE);
    return opened;
  }
  HANDLE OpenAsReader() const {
    return OpenNative(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
  }

  const WideString path = machine.WideFolder() + L"file";
};

TEST_F(FileSystemTest, PathsMayHaveAnyLength) {
  const WideString longPath = MakeLongPath();
  ASSERT_EQ(OpenToWrite(longPath, WriteMode::kReadWrite), kSuccess);
  EXPECT_EQ(WriteOnce(file.Get(), "x", 1), kSuccess);
  WideString slashes = longPath;
  std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
  for (const WideString& spelling : {L"\\\\?\\" + longPath, longPath, slashes}) {
    EXPECT_EQ(Open(spelling), kSuccess);
    EXPECT_EQ(Info().size, 1u);
  }
  file = {};
  EXPECT_EQ(RenameFile(longPath, longPath + L".1"), kSuccess);
  EXPECT_EQ(RemoveFile(longPath + L".1"), kSuccess);
}

TEST_F(FileSystemTest, DevicesAndPipesAreReportedOrRefusedAndNeverOpened) {
  for (const wchar_t* name : {L"NUL", L"CON", L"\\\\.\\NUL", L"nul.txt"}) {
    kind = FileKind::kRegular;
    const Code code = Open(name);
    EXPECT_TRUE(file.IsEmpty()) << code;
    EXPECT_TRUE(code != kSuccess || kind == FileKind::kOther) << code;
  }
  const WideString pipe = L"\\\\.\\pipe\\larder-test-" + std::to_wstring(GetCurrentProcessId());
  const HANDLE server =
      CreateNamedPipeW(pipe.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 64, 64, 0, nullptr);
  ASSERT_NE(server, INVALID_HANDLE_VALUE);
  ExpectNotOpened(pipe, FileKind::kOther);
  CloseHandle(server);
}

TEST_F(FileSystemTest, AFileThatOthersMayNotReadIsASharingViolationButHasItsInformation) {
  const HANDLE holder = OpenNative(path, GENERIC_WRITE, 0);
  EXPECT_EQ(Open(path), kSharingViolation);
  FileInfo info;
  EXPECT_EQ(QueryPathInfo(path, info, kind), kSuccess);
  EXPECT_EQ(kind, FileKind::kRegular);
  EXPECT_NE(info.changed, 0u);
  CloseHandle(holder);
  EXPECT_EQ(Open(path), kSuccess);
}

TEST_F(FileSystemTest, CaseDoesNotTellFilesApart) {
  EXPECT_EQ(FoldCase(L"c:\\b\u00FC \u0444"), L"C:\\B\u00DC \u0424");
  EXPECT_EQ(FoldCase({}), WideString());
}

TEST_F(FileSystemTest, ALogLetsReadersInButNoOtherWriterAndReadsOnlyInItsReadWriteMode) {
  for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
    ASSERT_EQ(OpenToWrite(path, mode), kSuccess);
    CloseHandle(OpenAsReader());
    for (const WriteMode other : {WriteMode::kWrite, WriteMode::kReadWrite}) {
      OwnedHandle second;
      EXPECT_EQ(OpenFileToWrite(path, other, second.Out()), kSharingViolation);
    }
    char byte = 0;
    DWORD got = 0;
    const BOOL read = ReadFile(reinterpret_cast<HANDLE>(file.Get()), &byte, 1, &got, nullptr);
    EXPECT_EQ(read != FALSE, mode == WriteMode::kReadWrite);
  }
}

TEST_F(FileSystemTest, AFileThatAReaderHoldsIsNeitherRenamedNorRemoved) {
  const HANDLE reader = OpenAsReader();
  EXPECT_EQ(RenameFile(path, path + L".1"), kSharingViolation);
  EXPECT_EQ(RemoveFile(path), kSharingViolation);
  CloseHandle(reader);
  EXPECT_EQ(RenameFile(path, path + L".1"), kSuccess);
  EXPECT_EQ(RemoveFile(path + L".1"), kSuccess);
}

TEST(EventSystemTest, TheNameIsTheSystemsOwn) {
  const WideString name = L"larder-test-event-" + std::to_wstring(GetCurrentProcessId());
  {
    const OwnedEvent event(name);
    const HANDLE other = OpenEventW(SYNCHRONIZE, FALSE, name.c_str());
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(RaiseEvent(event), kSuccess);
    EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(LowerEvent(event), kSuccess);
    EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_TIMEOUT});
    CloseHandle(other);
  }
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.c_str());
  ASSERT_NE(mutex, nullptr);
  EXPECT_NE(TryToMakeEvent(name), kSuccess);
  CloseHandle(mutex);
}

}  // namespace
}  // namespace larder::platform
