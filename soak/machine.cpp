#include "soak/machine.h"

#include <array>
#include <fstream>
#include <stdexcept>

#include "soak/process.h"

namespace larder::soak {

void PrepareMachine(const std::filesystem::path& folder, int limitMiB) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder / "root");
  UseMachine(folder);
  RunTool({"setup", "--only"});  // a Windows prefix may have been used before
  // Relative, since the library reads 98 characters at most; the program's folder is the current
  // one.
  RunTool({"registry", "set", "Install", "szLocation", ".\\"});
  RunTool({"registry", "set", "--type", "REG_DWORD", "DataProviders\\FeedFile", "dwStoreLimitMiB",
           std::to_string(limitMiB)});
  DeleteStore(folder);
}

void RunTool(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), (ProgramFolder() / "larder").string());
  if (RunProgram(arguments)) return;
  std::string text = "can't run";
  for (const std::string& argument : arguments) text += ' ' + argument;
  throw std::runtime_error(text);
}

void DeleteStore(const std::filesystem::path& folder) {
  const std::filesystem::path parent = StoreParent(folder);
  std::error_code none;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(parent, none)) {
    if (entry.is_symlink()) continue;
    std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, none);
  }
  std::filesystem::remove_all(parent);
}

std::uintmax_t StoreSize(const std::filesystem::path& folder) try {
  std::uintmax_t size = 0;
  for (const auto& entry : std::filesystem::directory_iterator(StoreParent(folder) / "store")) {
    std::error_code vanished;
    const std::uintmax_t one = entry.file_size(vanished);
    if (!vanished) size += one;
  }
  return size;
} catch (const std::filesystem::filesystem_error&) {
  return 0;  // there is no store at this moment
}

void ReadStoreFiles(const std::filesystem::path& folder) {
  std::error_code none;
  for (const auto& entry :
       std::filesystem::directory_iterator(StoreParent(folder) / "store", none)) {
    std::ifstream file(entry.path(), std::ios::binary);
    std::array<char, 4096> bytes{};
    file.read(bytes.data(), bytes.size());
  }
}

}  // namespace larder::soak
