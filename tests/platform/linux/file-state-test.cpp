// Whether a file's state proves its content: leases and the signal that comes with them, file
// systems and mounts.
#include <fcntl.h>
#include <linux/magic.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>

#include <cstdarg>
#include <cstring>

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
  const std::string native = Native("file").string();
};

TEST_F(FileStateTest, AWritableMappingIsSeenEvenIfItsDescriptorIsClosed) {
  const int writer = open(native.c_str(), O_RDWR | O_CLOEXEC);
  void* const mapping = mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, writer, 0);
  close(writer);
  ASSERT_NE(mapping, MAP_FAILED);
  EXPECT_EQ(ProveNoWriter(file.Get()), kSharingViolation);
  munmap(mapping, 1);
  EXPECT_EQ(ProveNoWriter(file.Get()), kSuccess);
}

TEST_F(FileStateTest, OnlyTheOwnerAndPrivilegedProcessesGetAProof) {
  const auto prove = [&] { return static_cast<int>(ProveNoWriter(file.Get())); };
  EXPECT_EQ(RunAsNobody(prove), geteuid() == 0 ? int{kAccessDenied} : 0);
}

int signals = 0;

class LeaseSignalTest : public FileStateTest {
 protected:
  LeaseSignalTest() {
    struct sigaction count {};
    count.sa_handler = [](int) { ++signals; };
    for (const int number : {SIGIO, SIGURG}) EXPECT_EQ(sigaction(number, &count, nullptr), 0);
    signals = 0;
  }
  ~LeaseSignalTest() override {
    for (const int number : {SIGIO, SIGURG}) signal(number, SIG_DFL);
  }

  static void SendToThread() { EXPECT_EQ(pthread_kill(pthread_self(), SIGURG), 0); }
  static void SendToProcess() { EXPECT_EQ(kill(getpid(), SIGURG), 0); }
  void BreakLease() const {
    EXPECT_EQ(open(native.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
  }
};

TEST_F(LeaseSignalTest, ABrokenLeaseSendsTheHostNothingAndTheHostsOwnSignalsArrive) {
  const std::pair<std::function<void()>, int> cases[] = {
      {[&] { BreakLease(); }, 0},
      {SendToThread, 1},
      {SendToProcess, 1},
      {[&] { BreakLease(), SendToProcess(); }, 1},
      {[&] { SendToThread(), BreakLease(); }, 1},
      {[&] { SendToProcess(), BreakLease(); }, 1}};
  for (const auto& [whileLeased, expected] : cases) {
    signals = 0;
    WhileLeased = whileLeased;
    EXPECT_EQ(ProveNoWriter(file.Get()), kSuccess);
    EXPECT_EQ(signals, expected) << &whileLeased - &cases[0].first;
  }
}

TEST_F(LeaseSignalTest, ASignalThatTheHostHasPendingStaysPending) {
  sigset_t urgent;
  sigemptyset(&urgent);
  sigaddset(&urgent, SIGURG);
  for (const auto send : {SendToThread, SendToProcess}) {
    signals = 0;
    pthread_sigmask(SIG_BLOCK, &urgent, nullptr);
    send();
    EXPECT_EQ(ProveNoWriter(file.Get()), kNotSupported);
    EXPECT_EQ(signals, 0);
    pthread_sigmask(SIG_UNBLOCK, &urgent, nullptr);
    EXPECT_EQ(signals, 1);
  }
}

struct Mounted {
  std::uint32_t type;
  long flags = 0;
  bool isWholeSecond = false;
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
  status.stx_ctime.tv_nsec = mounted.isWholeSecond ? 0 : 1;
  const std::uint64_t validity = ValidityOf(status, TrustIn(system, status));
  if (validity == kNeverValid) return Trust::kNone;
  return validity == kAlwaysValid ? Trust::kAlways : Trust::kMount;
}

TEST(FileValidityTest, ComesFromTheFileSystemTheMountAndTheTimes) {
  constexpr std::uint32_t kNoMountId = 0x4000;
  constexpr std::uint32_t kNoSubvolume = 0x8000;
  const std::pair<Mounted, Trust> cases[] = {
      {{EXT4_SUPER_MAGIC}, Trust::kAlways},
      {{XFS_SUPER_MAGIC}, Trust::kAlways},
      {{BTRFS_SUPER_MAGIC}, Trust::kAlways},
      {{EXT4_SUPER_MAGIC, 0, false, kNoMountId | kNoSubvolume}, Trust::kAlways},
      {{BTRFS_SUPER_MAGIC, 0, false, kNoSubvolume}, Trust::kNone},
      {{EXT4_SUPER_MAGIC, ST_RDONLY}, Trust::kMount},
      {{EXT4_SUPER_MAGIC, ST_NOSUID}, Trust::kMount},
      {{EXT4_SUPER_MAGIC, 0, true}, Trust::kMount},
      {{SQUASHFS_MAGIC}, Trust::kMount},
      {{EROFS_SUPER_MAGIC_V1}, Trust::kMount},
      {{EXT4_SUPER_MAGIC, ST_RDONLY, false, kNoMountId}, Trust::kNone},
      {{SQUASHFS_MAGIC, ST_RDONLY, false, kNoMountId}, Trust::kNone},
      {{TMPFS_MAGIC}, Trust::kNone},
      {{OVERLAYFS_SUPER_MAGIC}, Trust::kNone},
      {{NFS_SUPER_MAGIC}, Trust::kNone},
      {{0x65735546}, Trust::kNone}};  // FUSE
  for (const auto& [mounted, expected] : cases) {
    EXPECT_EQ(ResultFor(mounted), expected)
        << std::hex << mounted.type << ' ' << mounted.flags << ' ' << mounted.missing;
  }
}

// Mounts the folder on itself, read-only; the child's own mounts end with it.
bool MountReadOnly(const std::string& folder) {
  constexpr unsigned long kReadOnly = MS_BIND | MS_REMOUNT | MS_RDONLY;
  return mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
         mount(nullptr, folder.c_str(), nullptr, kReadOnly, nullptr) == 0;
}

TEST_F(FileStateTest, AReadOnlyMountIsPartOfTheState) {
  constexpr unsigned kNumbers = 0x4000;  // of mounts, since Linux 6.8
  constexpr int kNotPermitted = 99;
  const std::string folder = machine.Folder().string();
  const int fault = RunInChild([&] {
    if (unshare(geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      return kNotPermitted;
    }
    FileInfo writable;
    std::array<FileInfo, 65> infos;  // more than what is remembered
    if (QueryPathInfo(path, writable, kind) != kSuccess) return 1;
    if (writable.validity != kAlwaysValid) return kNotPermitted;
    for (FileInfo& mounted : infos) {
      if (!MountReadOnly(folder)) return kNotPermitted;
      if (QueryPathInfo(path, mounted, kind) != kSuccess) return 2;
      if (umount2(folder.c_str(), MNT_DETACH) != 0) return 3;
    }
    missingBits = kNumbers;
    if (QueryPathInfo(path, info, kind) != kSuccess || info != writable) return 7;
    if (!MountReadOnly(folder) || QueryPathInfo(path, info, kind) != kSuccess) return 8;
    if (info.validity != kNeverValid) return 9;
    for (std::uint64_t previous = kAlwaysValid; FileInfo & mounted : infos) {
      if (mounted.validity == kAlwaysValid) return 4;
      // Before Linux 6.8 there is nothing that identifies a mount.
      if (mounted.validity == previous && previous != kNeverValid) return 5;
      previous = std::exchange(mounted.validity, writable.validity);
      if (mounted != writable) return 6;
    }
    return 0;
  });
  if (fault == kNotPermitted)
    GTEST_SKIP() << "this user can't mount, or the folder isn't on ext4, XFS or Btrfs";
  EXPECT_EQ(fault, 0);
}

}  // namespace
}  // namespace larder::platform
