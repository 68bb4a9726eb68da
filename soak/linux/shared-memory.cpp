#include "soak/shared-memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace larder::soak {

Mapping::Mapping(const std::filesystem::path& file) {
  const int descriptor = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
  struct stat info {};
  if (descriptor < 0 || ::fstat(descriptor, &info) != 0)
    throw std::system_error(errno, std::generic_category(), file);
  const auto size = static_cast<std::size_t>(info.st_size);
  void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  const int code = errno;
  ::close(descriptor);
  if (memory == MAP_FAILED) throw std::system_error(code, std::generic_category(), file);
  bytes = {static_cast<char*>(memory), size};
}

Mapping::~Mapping() { ::munmap(bytes.data(), bytes.size()); }

void ReserveFile(const std::filesystem::path& file, std::size_t size) {
  const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  const bool done = descriptor >= 0 && ::ftruncate(descriptor, static_cast<off_t>(size)) == 0;
  const int code = errno;
  ::close(descriptor);
  if (!done) throw std::system_error(code, std::generic_category(), file);
}

}  // namespace larder::soak
