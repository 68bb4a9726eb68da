#include "tools/tool-machine.h"

#include <string>
#include <system_error>

#include "platform/folder.h"
#include "platform/registry.h"
#include "product/product.h"
#include "testing/files.h"

namespace larder {
namespace {

void Require(platform::Code code, const std::string& what) {
  if (code == platform::kSuccess || code == platform::kFileNotFound) return;
  throw std::system_error(static_cast<int>(code), std::system_category(), what);
}

platform::Code RemoveRegistry() {
  return platform::RemoveRegistryTree(
      WideString(LarderRegistryRoot.substr(0, LarderRegistryRoot.size() - 1)));
}

std::filesystem::path MakeFolder() {
  const auto temporary = std::filesystem::canonical(std::filesystem::temp_directory_path());
  for (int attempt = 0;; ++attempt) {
    std::filesystem::path folder = temporary / ("larder-tool-" + std::to_string(attempt));
    if (std::filesystem::create_directory(folder)) return folder;
  }
}

std::filesystem::path DataFolder() {
  WideString path;
  Require(platform::CommonFolderPath(platform::CommonFolder::kData, path), "find the data folder");
  return std::filesystem::path(path) / kMakerFolder / kProductFolder;
}

}  // namespace

struct ToolMachine::Parts {
  std::filesystem::path folder = MakeFolder();
  std::filesystem::path data = DataFolder();
  std::filesystem::path aside = data.parent_path() / "Larder-aside";
};

ToolMachine::ToolMachine() {
  Require(RemoveRegistry(), "clear the registry");
  parts = std::make_unique<Parts>();
  // Of a test that was killed.
  if (exists(parts->aside)) std::filesystem::remove_all(parts->data);
  if (exists(parts->data)) std::filesystem::rename(parts->data, parts->aside);
}

ToolMachine::~ToolMachine() {
  (void)RemoveRegistry();
  std::error_code ignored;
  std::filesystem::remove_all(parts->folder, ignored);
  std::filesystem::remove_all(parts->data, ignored);
  std::filesystem::rename(parts->aside, parts->data, ignored);
  std::filesystem::remove(parts->data.parent_path(), ignored);  // if it is empty
}

const std::filesystem::path& ToolMachine::Folder() const { return parts->folder; }
const std::filesystem::path& ToolMachine::Data() const { return parts->data; }

}  // namespace larder
