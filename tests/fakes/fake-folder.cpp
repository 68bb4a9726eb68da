#include "fakes/fake-folder.h"

#include "platform/wide.h"

namespace larder {

FakeFolders CurrentFolders;

namespace platform {

Code CommonFolderPath(CommonFolder folder, WideString& path) {
  if (CurrentFolders.commonFolderCode == kSuccess) {
    path = folder == CommonFolder::kData ? LARDER_WIDE("D:\\data") : LARDER_WIDE("D:\\programs");
  }
  return CurrentFolders.commonFolderCode;
}

Code PathAttributes(const WideString&, std::uint32_t&) { return kFileNotFound; }
Code MakeFolder(const WideString&) { return kAccessDenied; }
Code FindNames(const WideString&, std::vector<WideString>&) { return kPathNotFound; }

Code DeleteTree(const LarderWideChar* source) {
  std::string list;
  for (; source[0] != 0 || source[1] != 0; ++source) {
    list += source[0] == 0 ? "|" : Utf8FromWide(WideView(source, 1));
  }
  CurrentFolders.calls.push_back("delete " + list + "||");
  return static_cast<Code>(CurrentFolders.deleteResult);
}

bool IsFolderEmpty(const WideString& path) {
  CurrentFolders.calls.push_back("is empty " + Utf8FromWide(path));
  return CurrentFolders.isEmpty;
}

Code RemoveFolder(const WideString& path) {
  CurrentFolders.calls.push_back("remove " + Utf8FromWide(path));
  return CurrentFolders.removeCode;
}

}  // namespace platform
}  // namespace larder
