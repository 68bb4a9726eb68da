#include <windows.h>

#include "feed-file/store-folder.h"
#include "providers/provider-test.h"

namespace larder {
namespace {

class FeedFileOnWindows : public FileProviderTest {
 protected:
  static HANDLE Open(const WideString& path, DWORD access, DWORD share) {
    const HANDLE file =
        CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    return file;
  }
};

TEST_F(FeedFileOnWindows, NamesWhatCannotBeRead) {
  const WideString device = LARDER_WIDE("\\\\.\\NUL");
  EXPECT_EQ(FailureOf(device), CannotRead(device) + "it isn't a regular file");
  const WideString path = MakeFile(LARDER_WIDE("gr\u00FCn"), "abc");
  const HANDLE other = Open(path, GENERIC_READ, 0);
  const std::string text = FailureOf(path);
  CloseHandle(other);
  EXPECT_TRUE(text.starts_with(CannotRead(path))) << text;
  EXPECT_TRUE(text.ends_with(" (32)")) << text;
}

TEST_F(FeedFileOnWindows, SharesTheFileWithAWriterAndLeavesItClosed) {
  const WideString path = MakeFile(LARDER_WIDE("file"), "abc");
  const HANDLE other = Open(path, GENERIC_WRITE, FILE_SHARE_READ);
  EXPECT_TRUE(HasData(path));
  CloseHandle(other);
  TextThrownBy([&] { QueryOf(*provider, Descriptor(path, 1)); });
  EXPECT_NE(DeleteFileW(path.c_str()), 0);
}

TEST_F(FeedFileOnWindows, SetsAStoreAsideBesideWhatCannotBeDeleted) {
  const WideString folder = machine.WideFolder() + LARDER_WIDE("store");
  const WideString aside = machine.WideFolder() + LARDER_WIDE("set-aside");
  std::filesystem::create_directories(PathOf(folder));
  std::filesystem::create_directories(PathOf(aside));
  const HANDLE held = Open(MakeFile(LARDER_WIDE("set-aside\\file"), "kept"), GENERIC_READ, 0);
  EXPECT_EQ(feed::SetStoreAside(folder), aside + L"-2");
  CloseHandle(held);
  EXPECT_EQ(feed::SetStoreAside(folder), aside);
}

TEST_F(FeedFileOnWindows, UsesNoStoreThatEverybodyMayWrite) {
  const WideString folder = feed::MakeStoreFolder();
  feed::PrepareStoreFolder(folder);
  OpenToEverybody(PathOf(folder));
  EXPECT_THAT(TextThrownBy([&] { feed::PrepareStoreFolder(folder); }),
              testing::HasSubstr("store\" may be written by the account S-1-1-0"));
}

}  // namespace
}  // namespace larder
