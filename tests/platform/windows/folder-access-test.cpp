#include "platform/folder-access.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <sddl.h>

#include "platform/machine-fixture.h"
#include "platform/windows/access-list.h"

namespace larder::platform {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

// The path of a file as Linux has it, if this is wine.
std::string UnixPath(const WideString& path) {
  using Function = char*(CDECL*)(const wchar_t*);
  const auto function = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
  return function != nullptr ? function(path.c_str()) : std::string();
}

class FolderAccessTest : public FileTest {
 protected:
  FolderAccessTest() { EXPECT_EQ(MakeProtectedFolder(folder, Readers::kEverybody), kSuccess); }

  // wine has no junctions and gives no file to another account, but shows both where Linux has
  // them.
  void RunOnLinux(const std::string& command) {
    const WideString done = InFolder("done");
    std::wstring line = L"sh -c \"" + Wide(command) + L"; touch '" + Wide(UnixPath(done)) + L"'\"";
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessW(L"Z:\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &start, &process));
    while (!Exists("done")) Sleep(1);
    EXPECT_EQ(RemoveFile(done), kSuccess);
  }

  const WideString folder = InFolder("folder");
};

TEST_F(FolderAccessTest, AFolderThatEverybodyMayWriteIsNotTrustedUntilItIsProtected) {
  EXPECT_THAT(FolderDistrust(folder, OtherUsers::kMayNotWrite), IsEmpty());
  OpenToEverybody(PathOf(folder));
  for (const OtherUsers others : {OtherUsers::kMayNotWrite, OtherUsers::kMayAdd}) {
    EXPECT_THAT(FolderDistrust(folder, others), HasSubstr("may be written by the account S-1-1-0"));
  }
  EXPECT_EQ(ProtectFolder(folder, Readers::kEverybody), kSuccess);
  EXPECT_THAT(FolderDistrust(folder, OtherUsers::kMayNotWrite), IsEmpty());
}

TEST_F(FolderAccessTest, AnythingButARealFolderIsNotTrusted) {
  EXPECT_THAT(FolderDistrust(InFolder("missing"), OtherUsers::kMayAdd), IsEmpty());
  Write("file");
  EXPECT_EQ(FolderDistrust(InFolder("file"), OtherUsers::kMayAdd), "isn't a folder");
  EXPECT_THAT(FileDistrust(InFolder("file")), IsEmpty());
  EXPECT_EQ(MakeProtectedFolder(folder, Readers::kEverybody), kAlreadyExists);
  if (UnixPath(folder).empty()) GTEST_SKIP() << "needs a right that few users have, or wine";
  const std::string unix = UnixPath(folder);
  RunOnLinux("ln -s '" + unix + "' '" + unix + "-link'");
  EXPECT_EQ(FolderDistrust(InFolder("folder-link"), OtherUsers::kMayAdd),
            "is a link, a junction or another reparse point");
  RunOnLinux("chown 12345 '" + unix + "' '" + unix + "/../file'");
  EXPECT_THAT(FolderDistrust(folder, OtherUsers::kMayAdd),
              HasSubstr("belongs to the account S-1-"));
  EXPECT_THAT(FileDistrust(InFolder("file")), HasSubstr("belongs to the account S-1-"));
}

TEST(AccessListTest, GrantsToOthersAreFoundWhateverTheirForm) {
  struct Case {
    const wchar_t* list;
    bool isProtected;  // kMayNotWrite
    bool mayBeAddedTo;
  };
  const Case cases[] = {
      {L"D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;0x1200a9;;;BU)", true, true},
      // What a folder inherits in the common data folder.
      {L"D:(A;OICIIOID;GA;;;CO)(A;OICIID;FA;;;SY)(A;OICIID;FA;;;BA)(A;OICIID;0x1200a9;;;BU)"
       L"(A;CIID;0x116;;;BU)",
       false, true},
      {L"D:(A;OICI;0x2;;;BU)", false, false},  // files inherit it
      {L"D:(A;;0x100;;;BU)", false, true},     // may turn an empty folder into a junction
      {L"D:(A;;0x40;;;WD)", false, false},     // may delete what is in it
      {L"D:(A;;SD;;;AU)", false, false},
      {L"D:(A;;WD;;;BU)", false, false},
      {L"D:(A;;WO;;;BU)", false, false},
      {L"D:(A;OICIIO;GW;;;BU)", false, false},
      {L"D:(D;;FA;;;WD)(A;;FA;;;OW)", true, true},
      {L"D:(A;;FA;;;S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464)", true, true},
      {nullptr, false, false}};
  for (const Case& one : cases) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    BOOL isPresent = FALSE;
    BOOL isDefault = FALSE;
    PACL entries = nullptr;
    const std::string text = one.list != nullptr ? Utf8FromWide(one.list) : "no list";
    if (one.list != nullptr) {
      ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(one.list, SDDL_REVISION_1,
                                                                       &descriptor, nullptr))
          << text;
      ASSERT_TRUE(GetSecurityDescriptorDacl(descriptor, &isPresent, &entries, &isDefault));
    }
    EXPECT_EQ(ListDistrust(entries, OtherUsers::kMayNotWrite).empty(), one.isProtected) << text;
    EXPECT_EQ(ListDistrust(entries, OtherUsers::kMayAdd).empty(), one.mayBeAddedTo) << text;
    LocalFree(descriptor);
  }
}

TEST_F(FolderAccessTest, TheRightToCreateAFileIsQueriedWithoutCreatingOne) {
  std::uint64_t space = 0;
  EXPECT_EQ(QueryCreation(folder, space), kSuccess);
  EXPECT_GT(space, 0u);
  EXPECT_NE(QueryCreation(InFolder("missing"), space), kSuccess);
  EXPECT_TRUE(IsFolderEmpty(folder));
}

}  // namespace
}  // namespace larder::platform
