#include <windows.h>

#include "platform/machine-fixture.h"
#include "platform/path.h"
#include "platform/windows/native.h"

namespace larder::platform {
namespace {

class FileSystemTest : public FileTest {
 protected:
  static HANDLE OpenNative(const WideString& name, DWORD access, DWORD share) {
    const HANDLE opened =
        CreateFileW(name.c_str(), access, share, nullptr, OPEN_ALWAYS, 0, nullptr);
    EXPECT_NE(opened, INVALID_HANDLE_VALUE);
    return opened;
  }

  const WideString path = machine.WideFolder() + L"file";
};

TEST_F(FileSystemTest, PathsMayHaveAnyLength) {
  // Folders so deep that the system takes the path in its long form only.
  WideString folder = machine.WideFolder();
  for (int level = 0; level < 4; ++level) {
    folder += WideString(100, L'd') + L'\\';
    EXPECT_EQ(MakeFolder(folder), kSuccess);
  }
  const WideString longPath = folder + L"file";
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

TEST_F(FileSystemTest, APathIsLengthenedByItsFullLengthAndAPrefixIsKept) {
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path(machine.Folder());
  const WideString here = machine.WideFolder();
  const WideString deep(250 - here.size(), L'd');
  const WideString longName(300, L'n');
  const std::pair<WideString, WideString> cases[] = {
      {L"C:\\a ", L"C:\\a "},
      {L"a", L"a"},
      {deep, L"\\\\?\\" + here + deep},
      {L"C:/" + longName + L"/../" + longName + L" ", L"\\\\?\\C:\\" + longName},
      {L"\\\\s\\t\\" + longName, L"\\\\?\\UNC\\s\\t\\" + longName},
      {L"//?/C:/" + longName, L"\\\\?\\C:\\" + longName},
      {L"\\\\.\\C:\\" + longName, L"\\\\?\\C:\\" + longName},
      {L"\\\\?\\C:\\a\\.\\" + longName + L". ", L"\\\\?\\C:\\a\\.\\" + longName + L". "}};
  WideString native;
  for (const auto& [given, expected] : cases) {
    EXPECT_EQ(NativePath(given, native), kSuccess);
    EXPECT_EQ(native, expected) << Utf8FromWide(given);
  }
  std::filesystem::current_path(former);
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
  kind = FileKind::kRegular;
  EXPECT_EQ(Open(pipe), kSuccess);
  EXPECT_EQ(kind, FileKind::kOther);
  EXPECT_TRUE(file.IsEmpty());
  CloseHandle(server);
}

TEST_F(FileSystemTest, AFileThatOthersMayNotReadIsASharingViolationButHasItsInformation) {
  const HANDLE holder = OpenNative(path, GENERIC_WRITE, 0);
  EXPECT_EQ(Open(path), kSharingViolation);
  EXPECT_EQ(QueryPathInfo(path, info, kind), kSuccess);
  EXPECT_NE(info.changed, 0u);
  CloseHandle(holder);
  WideString memory;
  EXPECT_EQ(FoldCase(L"c:\\b\u00FC \u0444", memory), L"C:\\B\u00DC \u0424");
  EXPECT_EQ(FoldCase({}, memory), WideView());
}

TEST_F(FileSystemTest, ALogIsReadOnlyInItsReadWriteMode) {
  for (const WriteMode mode : {WriteMode::kWrite, WriteMode::kReadWrite}) {
    ASSERT_EQ(OpenToWrite(path, mode), kSuccess);
    char byte = 0;
    DWORD got = 0;
    const BOOL read = ReadFile(reinterpret_cast<HANDLE>(file.Get()), &byte, 1, &got, nullptr);
    EXPECT_EQ(read != FALSE, mode == WriteMode::kReadWrite);
  }
}

TEST(EventSystemTest, TheNameIsTheSystemsOwn) {
  const WideString name = L"larder-test-event-" + std::to_wstring(GetCurrentProcessId());
  const OwnedEvent event(name);
  const HANDLE other = OpenEventW(SYNCHRONIZE, FALSE, name.c_str());
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(RaiseEvent(event), kSuccess);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(WaitForSingleObject(other, 0), DWORD{WAIT_OBJECT_0});
  CloseHandle(other);
}

}  // namespace
}  // namespace larder::platform
