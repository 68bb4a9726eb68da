#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "soak/store-damage.h"

namespace larder::soak {

std::string ReplaceWithOddFile(const std::filesystem::path& file, std::uint64_t kind) {
  if (kind % 5 == 0) {
    ::chmod(file.c_str(), 0);  // root opens it all the same
    return "mode 000";
  }
  std::filesystem::remove(file);
  switch (kind % 5) {
    case 1:
      ::mkfifo(file.c_str(), 0600);
      return "replaced with a FIFO";
    case 2:
      std::filesystem::create_symlink(file.filename(), file);
      return "replaced with a link to itself";
    case 3:
      std::filesystem::create_symlink("/dev/zero", file);
      return "replaced with a link to /dev/zero";
    default:
      std::filesystem::create_symlink("/dev/full", file);
      return "replaced with a link to /dev/full";
  }
}

}  // namespace larder::soak
