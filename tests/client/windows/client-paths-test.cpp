// Paths of UTF-16 units in an object descriptor. <windows.h> comes after the client's header, which
// declares some of its functions itself.
#include <gtest/gtest.h>
#include <larder/client.hpp>

#include <windows.h>

#include <cstring>

#include "testing/test-machine.h"

namespace larder {
namespace {

std::wstring PathIn(const FileObject& object) {
  const auto bytes = object.Descriptor().subspan(offsetof(FileObjectDescriptor, filePath));
  std::wstring path(bytes.size() / sizeof(wchar_t), 0);
  std::memcpy(path.data(), bytes.data(), bytes.size());
  EXPECT_EQ(path.back(), L'\0');
  path.pop_back();
  return path;
}

TEST(ClientPaths, AreFullWithBackslashes) {
  const std::pair<const wchar_t*, std::wstring> cases[] = {
      {L"C:/a/b", L"C:\\a\\b"},
      {L"C:\\a\\\xD83D\xDE00\\\xD83D", L"C:\\a\\\xD83D\xDE00\\\xD83D"},
      {L"//server/share/a", L"\\\\server\\share\\a"},
      {L"\\\\?\\C:\\a.", L"\\\\?\\C:\\a."}};
  for (const auto& [path, expected] : cases) EXPECT_EQ(PathIn(FileObject(path)), expected);
  const std::wstring here = std::filesystem::current_path().wstring();
  EXPECT_EQ(PathIn(FileObject(L"folder/name")), here + L"\\folder\\name");
  EXPECT_EQ(PathIn(FileObject(L"\\a")), here.substr(0, 2) + L"\\a");
}

TEST(ClientPaths, ThatCantBeExpressedAreRefused) {
  const std::wstring cases[] = {L"", {L"C:\\a\0b", 6}, L"C:\\" + std::wstring(32764, L'x')};
  for (const auto& path : cases) {
    EXPECT_THROW(FileObject{path}, std::filesystem::filesystem_error);
  }
  EXPECT_NO_THROW(FileObject(L"C:\\" + std::wstring(32763, L'x')));
}

TEST(ClientPaths, OfAnyLengthHaveAModificationTime) {
  const TestMachine machine;
  std::wstring folder = L"\\\\?\\" + machine.Folder().wstring();
  for (int i = 0; i < 3; ++i) {
    folder += L'\\' + std::wstring(100, L'f');
    ASSERT_NE(CreateDirectoryW(folder.c_str(), nullptr), FALSE);
  }
  const std::wstring file = folder + L"\\file";
  const HANDLE handle =
      CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  const FILETIME time{.dwLowDateTime = 0x89ABCDEF, .dwHighDateTime = 0x01D01234};
  EXPECT_NE(SetFileTime(handle, nullptr, nullptr, &time), FALSE);
  CloseHandle(handle);
  EXPECT_EQ(LastModified(file), 0x01D0123489ABCDEF);
  EXPECT_EQ(LastModified(file.substr(4)), 0x01D0123489ABCDEF);
  EXPECT_EQ(
      LastModified(folder.substr(4) + L"/../" + folder.substr(folder.size() - 100) + L"/./file"),
      0x01D0123489ABCDEF);
}

}  // namespace
}  // namespace larder
