#include "tools/tool-machine.h"

#include <windows.h>

#include <string>
#include <system_error>

#include "platform/registry.h"
#include "support/registry.h"

namespace larder {
namespace {

platform::Code RemoveRoot() {
  return platform::RemoveRegistryTree(
      WideString(LarderRegistryRoot.substr(0, LarderRegistryRoot.size() - 1)));
}

void ClearRegistry() {
  const platform::Code code = RemoveRoot();
  if (code != platform::kSuccess && code != platform::kFileNotFound) {
    throw std::system_error(static_cast<int>(code), std::system_category(), "clear the registry");
  }
}

std::filesystem::path MakeFolder() {
  const auto temporary = std::filesystem::canonical(std::filesystem::temp_directory_path());
  for (int attempt = 0;; ++attempt) {
    std::filesystem::path folder = temporary / ("larder-tool-" + std::to_string(attempt));
    if (std::filesystem::create_directory(folder)) return folder;
  }
}

}  // namespace

struct ToolMachine::Parts {
  std::filesystem::path folder = MakeFolder();
};

ToolMachine::ToolMachine() {
  ClearRegistry();
  parts = std::make_unique<Parts>();
}

ToolMachine::~ToolMachine() {
  RemoveRoot();
  std::error_code ignored;
  std::filesystem::remove_all(parts->folder, ignored);
}

const std::filesystem::path& ToolMachine::Folder() const { return parts->folder; }

}  // namespace larder
