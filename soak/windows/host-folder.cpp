#include <fstream>
#include <utility>

#include "soak/host-system.h"

namespace larder::soak {

// The system refuses to delete a folder with an open file. A file that can't be deleted stays.
void PrepareBadFolder(const std::filesystem::path&) {}

BadFolder::BadFolder(std::filesystem::path path, std::uint64_t number)
    : folder(std::move(path)), state(number % 2) {
  std::error_code none;
  std::filesystem::remove_all(folder, none);
  if (state == 0) std::ofstream file(folder);  // a file with the folder's name
}

BadFolder::~BadFolder() {
  std::error_code none;
  if (!std::filesystem::is_directory(folder, none)) std::filesystem::remove(folder, none);
  std::filesystem::create_directories(folder, none);
}

}  // namespace larder::soak
