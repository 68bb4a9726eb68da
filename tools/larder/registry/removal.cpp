#include "tools/larder/registry/removal.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "platform/folder-access.h"
#include "platform/folder.h"
#include "platform/registry.h"
#include "platform/scoped-handle.h"
#include "platform/wide.h"
#include "product/product.h"
#include "support/installed-state.h"
#include "support/paths.h"
#include "tools/larder/cli/path.h"
#include "tools/larder/registry/registry-value.h"

namespace larder::tool {
namespace {

using Kind = Removal::Kind;

WideString PathOf(Kind kind) {
  if (kind == Kind::kProgram) return GetLarderProgramDir();
  return kind == Kind::kData ? GetLarderDataPath() : PathOfSubkey({});
}

WideString WithoutLastSeparator(WideString path) {
  if (path.ends_with(LARDER_WIDE('\\'))) path.pop_back();
  return path;
}

std::vector<WideView> LevelsOf(WideView path) {
  std::vector<WideView> levels;
  while (!path.empty()) {
    const std::size_t end = path.find(LARDER_WIDE('\\'));
    const WideView level = path.substr(0, end);
    if (!level.empty() && !level.ends_with(LARDER_WIDE(':'))) levels.push_back(level);
    path.remove_prefix(end == WideView::npos ? path.size() : end + 1);
  }
  return levels;
}

// Whether the system's full form of the path is the path itself.
bool IsFullPath(const WideString& path) {
  WideString full;
  if (FullPath(PathText(path), full) != platform::kSuccess) return false;
  return WithoutLastSeparator(full) == WithoutLastSeparator(path);
}

// Whether a tree may be deleted at all: a full path, deep enough, without wildcards and "..".
bool IsReasonable(const WideString& path) {
  if (path.find_first_of(LARDER_WIDE("*?")) != WideString::npos) return false;
  const std::vector<WideView> levels = LevelsOf(path);
  if (std::find(levels.begin(), levels.end(), LARDER_WIDE("..")) != levels.end()) return false;
  // The path of a share begins with the server and the share.
  const bool isShare = path.starts_with(LARDER_WIDE("\\\\"));
  return levels.size() >= (isShare ? 4u : 2u) && IsFullPath(path);
}

std::string ProgramObstacle(const WideString& path, const std::optional<WideString>& named) {
  if (named) {
    if (*named == path) return {};
    return "the program directory is " + platform::Utf8FromWide(path) + ", not " +
           platform::Utf8FromWide(*named);
  }
  const WideString usual = GetVelmorProgramPath() + kProductFolder;
  if (WithoutLastSeparator(path) == usual) return {};
  return "szLocation names another program directory than the usual one; to delete it say "
         "--program \"" +
         platform::Utf8FromWide(path) + "\"";
}

// Another user who may change a folder above it chooses what would be deleted.
std::string DataObstacle() {
  const platform::Distrust distrust = platform::DataFolderDistrust(
      WithoutLastSeparator(GetVelmorDataPath()), platform::OtherUsers::kMayAdd);
  if (distrust.reason.empty()) return {};
  return '"' + PathText(distrust.folder) + "\" " + distrust.reason;
}

}  // namespace

Removal::Removal(Kind newKind) : kind(newKind), path(PathOf(newKind)) {}

std::string Removal::Obstacle(const std::optional<WideString>& named) const {
  if (kind == Kind::kRegistry) {
    if (!IsInstalledInCommonFiles()) return {};
    return "szLocation names the place of a real installation, whose registry is kept";
  }
  if (!IsReasonable(path)) {
    return "\"" + platform::Utf8FromWide(path) +
           "\" isn't the full path of a folder at least two levels deep";
  }
  return kind == Kind::kProgram ? ProgramObstacle(path, named) : DataObstacle();
}

std::string Removal::Label() const {
  if (kind == Kind::kRegistry) return "registry key " + platform::Utf8FromWide(path);
  return (kind == Kind::kProgram ? "program directory " : "data directory ") + PathText(path);
}

bool Removal::IsGone() const {
  platform::Code code = platform::kSuccess;
  if (kind == Kind::kRegistry) {
    platform::OwnedRegistryKey key;
    code = platform::OpenRegistryKey(path, platform::kKeyRead, key.Out());
  } else {
    std::uint32_t attributes = 0;
    code = platform::PathAttributes(path, attributes);
  }
  return code == platform::kFileNotFound || code == platform::kPathNotFound;
}

void Removal::Run() const {
  if (PathOf(kind) != path)
    throw std::runtime_error("the configuration no longer names the " + Label());
  if (kind == Kind::kProgram) DeleteLarderProgramDir();
  if (kind == Kind::kData) DeleteLarderDataDir();
  if (kind == Kind::kRegistry) DeleteLarderRegistryEntries();
}

}  // namespace larder::tool
