// Whether a file's state proves its content: leases and the signal that comes with them, file
// systems and mounts.
#include <fcntl.h>
#include <linux/magic.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>

#include <cstdarg>

#include "platform/linux/child-process.h"
#include "platform/linux/file-validity.h"
#include "platform/machine-fixture.h"

namespace {

std::function<void()> WhileLeased;  // called while the next lease is held
unsigned missingBits = 0;           // of what statx reports

}  // namespace

// In place of the C library's, to be there at the moment that matters and to be an older kernel.
extern "C" int statx(int directory, const char* path, int flags, unsigned mask,
                     struct statx* status) noexcept {
  const auto result = static_cast<int>(syscall(SYS_statx, directory, path, flags, mask, status));
  status->stx_mask &= ~missingBits;
  return result;
}

extern "C" int fcntl(int descriptor, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const auto result = static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));
  const bool isLeased =
      command == F_SETLEASE && result == 0 && reinterpret_cast<std::intptr_t>(argument) == F_RDLCK;
  if (isLeased && WhileLeased) std::exchange(WhileLeased, nullptr)();
  return result;
}

namespace larder::platform {
namespace {

class FileStateTest : public FileTest {
 protected:
  FileStateTest() {
    Write("file", "content");
    EXPECT_EQ(Open(path), kSuccess);
  }

  const WideString path = InFolder("file");
};

TEST_F(FileStateTest, OnlyTheOwnerAndPrivilegedProcessesGetAProof) {
  const auto prove = [&] { return static_cast<int>(ProveNoWriter(file.Get())); };
  EXPECT_EQ(RunAsNobody(prove), geteuid() == 0 ? int{kAccessDenied} : 0);
}

int signals = 0;

void SendToThread() { EXPECT_EQ(pthread_kill(pthread_self(), SIGURG), 0); }
void SendToProcess() { EXPECT_EQ(kill(getpid(), SIGURG), 0); }

// The default action of any other signal of a lease would end this process.
TEST_F(FileStateTest, ABrokenLeaseSendsTheHostNothingAndTheHostsOwnSignalsArrive) {
  struct Case {
    std::function<void()> before;
    std::function<void()> whileLeased;
    Code code;
    int signals;
  };
  const auto nothing = [] {};
  const auto breakLease = [native = Native("file").string()] {
    EXPECT_EQ(open(native.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
  };
  const Case cases[] = {{nothing, breakLease, kSuccess, 0},
                        {nothing, SendToThread, kSuccess, 1},
                        {nothing, SendToProcess, kSuccess, 1},
                        {nothing, [&] { breakLease(), SendToProcess(); }, kSuccess, 1},
                        {nothing, [&] { SendToThread(), breakLease(); }, kSuccess, 1},
                        {SendToThread, nullptr, kNotSupported, 1},
                        {SendToProcess, nullptr, kNotSupported, 1}};
  signal(SIGURG, [](int) { ++signals; });
  sigset_t urgent;
  sigemptyset(&urgent);
  sigaddset(&urgent, SIGURG);
  for (const Case& each : cases) {
    const bool isBlockedByHost = each.whileLeased == nullptr;
    signals = 0;
    if (isBlockedByHost) pthread_sigmask(SIG_BLOCK, &urgent, nullptr);
    each.before();
    WhileLeased = each.whileLeased;
    EXPECT_EQ(ProveNoWriter(file.Get()), each.code) << &each - cases;
    EXPECT_EQ(signals, isBlockedByHost ? 0 : each.signals) << &each - cases;
    pthread_sigmask(SIG_UNBLOCK, &urgent, nullptr);
    EXPECT_EQ(signals, each.signals) << &each - cases;
  }
  signal(SIGURG, SIG_DFL);
}

struct Mounted {
  std::uint32_t type;
  long flags = 0;
  std::uint32_t nanoseconds = 1;
  std::uint32_t missing = 0;  // bits of the mask
};

// kMount for any number that identifies a mount.
Trust ResultFor(const Mounted& mounted) {
  struct statfs system {};
  system.f_type = mounted.type;
  system.f_flags = mounted.flags;
  struct statx status {};
  status.stx_mask = kStatusMask & ~mounted.missing;
  for (const int offset : {0x90, 0xA0}) reinterpret_cast<char*>(&status)[offset] = 7;
  status.stx_ctime.tv_nsec = mounted.nanoseconds;
  const std::uint64_t validity = ValidityOf(status, TrustIn(system, status));
  if (validity == kNeverValid) return Trust::kNone;
  return validity == kAlwaysValid ? Trust::kAlways : Trust::kMount;
}

TEST(FileValidityTest, ComesFromTheFileSystemTheMountAndTheTimes) {
  const std::pair<Mounted, Trust> cases[] = {
      {{EXT4_SUPER_MAGIC, 0, 1, kMountNumber | kSubvolume}, Trust::kAlways},
      {{XFS_SUPER_MAGIC}, Trust::kAlways},
      {{BTRFS_SUPER_MAGIC}, Trust::kAlways},
      {{BTRFS_SUPER_MAGIC, 0, 1, kSubvolume}, Trust::kNone},
      {{EXT4_SUPER_MAGIC, ST_RDONLY}, Trust::kMount},
      {{EXT4_SUPER_MAGIC, ST_NOSUID}, Trust::kMount},
      {{EXT4_SUPER_MAGIC, 0, 0}, Trust::kMount},
      {{EXT4_SUPER_MAGIC, 0, 0, kMountNumber}, Trust::kNone},
      {{SQUASHFS_MAGIC}, Trust::kMount},
      {{EROFS_SUPER_MAGIC_V1}, Trust::kMount},
      {{TMPFS_MAGIC}, Trust::kNone},
      {{OVERLAYFS_SUPER_MAGIC}, Trust::kNone},
      {{0x65735546}, Trust::kNone}};  // FUSE
  for (const auto& [mounted, expected] : cases) {
    EXPECT_EQ(ResultFor(mounted), expected) << std::hex << mounted.type << ' ' << mounted.flags;
  }
}

constexpr int kNotPermitted = 99;

// Mounts the folder on itself, read-only; the child's own mounts end with it.
bool MountReadOnly(const std::string& folder) {
  constexpr unsigned long kReadOnly = MS_BIND | MS_REMOUNT | MS_RDONLY;
  return mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
         mount(nullptr, folder.c_str(), nullptr, kReadOnly, nullptr) == 0;
}

int FaultOfReadOnlyMounts(const std::string& folder, const WideString& path) {
  FileKind kind{};
  FileInfo writable;
  FileInfo older;
  std::array<FileInfo, 65> infos;  // more than what is remembered
  if (QueryPathInfo(path, writable, kind) != kSuccess) return 1;
  if (writable.validity != kAlwaysValid) return kNotPermitted;
  for (FileInfo& mounted : infos) {
    if (!MountReadOnly(folder)) return kNotPermitted;
    if (QueryPathInfo(path, mounted, kind) != kSuccess) return 2;
    missingBits = kMountNumber;
    if (QueryPathInfo(path, older, kind) != kSuccess || older.validity != kNeverValid) return 3;
    missingBits = 0;
    if (umount2(folder.c_str(), MNT_DETACH) != 0) return 4;
  }
  for (std::uint64_t previous = kAlwaysValid; FileInfo & mounted : infos) {
    if (mounted.validity == kAlwaysValid) return 5;
    if (mounted.validity == previous && previous != kNeverValid) return 6;  // before Linux 6.8
    previous = std::exchange(mounted.validity, kAlwaysValid);
    if (mounted != writable) return 7;
  }
  return 0;
}

TEST_F(FileStateTest, AReadOnlyMountIsPartOfTheState) {
  const int fault = RunInChild([&] {
    const bool isAlone = unshare(geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) == 0 &&
                         mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return isAlone ? FaultOfReadOnlyMounts(machine.Folder().string(), path) : kNotPermitted;
  });
  if (fault == kNotPermitted)
    GTEST_SKIP() << "this user can't mount, or the folder isn't on ext4, XFS or Btrfs";
  EXPECT_EQ(fault, 0);
}

}  // namespace
}  // namespace larder::platform
