// Paths and entries that only Windows has.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/machine-fixture.h"
#include "tools/larder/cli/console.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/windows/folder-entry.h"

namespace larder::tool {
namespace {

using platform::kSuccess;

TEST(NamesTest, ANameIsKeptAndHasThePrefixIfWindowsWouldReadAnotherOne) {
  const std::filesystem::path former = std::filesystem::current_path();
  const TestMachine machine;
  std::filesystem::current_path(machine.Folder());
  const WideString here = machine.WideFolder();  // ends in a backslash
  const WideString parent = std::filesystem::path(here).parent_path().parent_path().wstring();
  const WideString deep = WideString(200, L'd') + L"\\" + WideString(200, L'e');
  const std::pair<std::string, WideString> cases[] = {
      {"a.b/./c/../d//", here + L"a.b\\d"},
      {"a ", L"\\\\?\\" + here + L"a "},
      {"a.", L"\\\\?\\" + here + L"a."},
      {"AUX", L"\\\\?\\" + here + L"AUX"},
      {"..", parent},
      {platform::Utf8FromWide(here.substr(0, 2)), here.substr(0, here.size() - 1)},
      {"C:/", L"C:\\"},
      {"c:\\..\\a", L"c:\\a"},
      {"\\a/b", here.substr(0, 2) + L"\\a\\b"},
      {"//server/share/../a", L"\\\\server\\share\\a"},
      {"//server/share/a.", L"\\\\?\\UNC\\server\\share\\a."},
      {"\\\\?\\UNC\\server\\share\\a", L"\\\\server\\share\\a"},
      {"//?/C:/a/b", L"C:\\a\\b"},
      {"\\\\?\\C:\\a\\.", L"\\\\?\\C:\\a\\."},
      {"\\\\?\\Volume{0}\\a", L"\\\\?\\Volume{0}\\a"},
      {platform::Utf8FromWide(deep), here + deep}};
  WideString path;
  for (const auto& [given, expected] : cases) {
    EXPECT_EQ(FullPath(given, path), kSuccess) << given;
    EXPECT_EQ(path, expected) << given << " " << platform::Utf8FromWide(path);
  }
  EXPECT_EQ(FolderText("E:") + FolderText("E:\\") + FolderText("a"), "E:E:\\a\\");
  std::filesystem::current_path(former);
}

TEST(NamesTest, AttributesAndReparseTagsDecideWhatAnEntryIs) {
  constexpr DWORD kFolder = FILE_ATTRIBUTE_DIRECTORY;
  constexpr DWORD kReparse = FILE_ATTRIBUTE_REPARSE_POINT;
  constexpr DWORD kDeduplicated = 0x80000013;
  struct Case {
    DWORD attributes;
    DWORD tag;
    EntryKind kind;
    bool isRemote;
  };
  const Case cases[] = {{FILE_ATTRIBUTE_NORMAL, 0, EntryKind::kRegular, false},
                        {kFolder, 0, EntryKind::kFolder, false},
                        {FILE_ATTRIBUTE_DEVICE, 0, EntryKind::kOther, false},
                        {kReparse, kDeduplicated, EntryKind::kRegular, false},
                        {kReparse, IO_REPARSE_TAG_SYMLINK, EntryKind::kLink, false},
                        {kFolder | kReparse, kDeduplicated, EntryKind::kLink, false},
                        {FILE_ATTRIBUTE_OFFLINE, 0, EntryKind::kRegular, true},
                        {kFolder | 0x40000, 0, EntryKind::kFolder, true},
                        {0x400000, 0, EntryKind::kRegular, true}};
  for (const auto& [attributes, tag, kind, isRemote] : cases) {
    WIN32_FIND_DATAW found{};
    found.dwFileAttributes = attributes;
    found.dwReserved0 = tag;
    EXPECT_EQ(EntryOf(found).kind, kind) << attributes;
    EXPECT_EQ(EntryOf(found).isRemote, isRemote) << attributes;
  }
}

TEST(NamesTest, ADriveWithoutMediaOpensNoDialog) {
  SetErrorMode(0);
  PrepareConsole();
  EXPECT_NE(GetErrorMode() & SEM_FAILCRITICALERRORS, 0u);
}

}  // namespace
}  // namespace larder::tool
