// A folder that can't be used for a while.
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string>
#include <system_error>

#include "soak/host-system.h"

namespace larder::soak {
namespace {

constexpr rlim_t kMaxFileBytes = 20'000;
constexpr char kDiskOptions[] = "size=1m,mode=0755";  // logs aren't written where all may
enum State : std::uint64_t { kFull, kLimited, kReadOnly, kGone, kStates };

void Mount(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  if (::mount("none", folder.c_str(), "tmpfs", 0, kDiskOptions) != 0)
    throw std::system_error(errno, std::generic_category(), "mount");
}

void Remount(const std::filesystem::path& folder, unsigned long flags) {
  ::mount("none", folder.c_str(), nullptr, MS_REMOUNT | flags, kDiskOptions);
}

void SetMaxFileBytes(rlim_t bytes) {
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min(bytes, limit.rlim_max);
  ::setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace

void PrepareBadFolder(const std::filesystem::path& folder) {
  if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
    throw std::system_error(errno, std::generic_category(), "unshare");
  ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
  Mount(folder);
}

BadFolder::BadFolder(std::filesystem::path path, std::uint64_t number)
    : folder(std::move(path)), state(number % kStates) {
  if (state == kFull) std::ofstream(folder / "filler") << std::string(2 << 20, 'x');
  if (state == kLimited) SetMaxFileBytes(kMaxFileBytes);
  if (state == kReadOnly) Remount(folder, MS_RDONLY);
  if (state == kGone) {
    ::umount2(folder.c_str(), MNT_DETACH);
    std::filesystem::remove_all(folder);
  }
}

BadFolder::~BadFolder() {
  std::error_code none;
  if (state == kFull) std::filesystem::remove(folder / "filler", none);
  if (state == kLimited) SetMaxFileBytes(RLIM_INFINITY);
  if (state == kReadOnly) Remount(folder, 0);
  if (state == kGone) Mount(folder);
}

}  // namespace larder::soak
