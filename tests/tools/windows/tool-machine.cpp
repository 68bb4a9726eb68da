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

// The machine's state during a test.
struct Machine {
  Machine() {
    Require(RemoveRegistry(), "clear the registry");
    if (exists(aside)) std::filesystem::remove_all(data);  // of a test that was killed
    if (exists(data)) std::filesystem::rename(data, aside);
  }
  ~Machine() {
    (void)RemoveRegistry();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    std::filesystem::remove_all(data, ignored);
    std::filesystem::rename(aside, data, ignored);
    std::filesystem::remove(data.parent_path(), ignored);  // if it is empty
  }

  const std::filesystem::path folder = MakeFolder();
  const std::filesystem::path data = DataFolder();
  const std::filesystem::path aside = data.parent_path() / "Larder-aside";
};

}  // namespace

ToolMachine::ToolMachine()
    : system(std::make_shared<Machine>()),
      folder(static_cast<Machine*>(system.get())->folder),
      data(static_cast<Machine*>(system.get())->data) {}

}  // namespace larder
