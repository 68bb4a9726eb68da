#include "platform/event.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "platform/cancellation.h"
#include "platform/linux/change-queue.h"
#include "platform/linux/file-descriptor.h"
#include "platform/linux/kernel-object.h"
#include "platform/linux/native.h"

// A private event is an atomic flag, which is its state, and an eventfd, which wakes the waiting
// threads. The eventfd may be readable while the flag is clear, but is never left unreadable while
// it is set, so a waiting thread that has found the flag clear can't miss a raise.
//
// A named event is the file run/larder/events/NAME below the machine root, where NAME is FileNameOf
// its name: it is raised while the file exists. So its state is shared by all processes and
// outlives them, and the permissions of the directories decide who may change it.
//
// A waiting thread watches these directories with inotify. They may be created, replaced or closed
// to this user while it waits, so every level from the machine root down is watched, each one
// before the next is looked up: a level that appears in between leaves a change to be read. A
// change that concerns a level makes the watch stale, and the next query sets it up again. The file
// is looked up only while the watch exists. So no raise is missed, and a needless change costs one
// more query.
//
// The file may be gone again when it is looked up. So its creation, which inotify reports, ends the
// wait as the file itself does. That can be missed in two cases only: the directory of the events
// wasn't watched yet, because it was created or opened to this user at the same moment, or the
// kernel's queue of changes overflowed (16384 by default) because the waiting thread didn't run.

namespace larder::platform {
namespace {

constexpr std::size_t kMaxEvents = 64;
constexpr std::array<std::string_view, 3> kLevels = {"run", "larder", "events"};

struct EventObject : KernelObject {
  virtual Code Raise() noexcept = 0;
  virtual Code Lower() noexcept = 0;
  // Discards what happened before. Called at the start of each wait.
  virtual void BeginWait() noexcept {}
  // After a query that finds the event lowered, the next raise makes the descriptor readable. May
  // open the descriptor.
  virtual Code Query(bool& isRaised) noexcept = 0;
  [[nodiscard]] virtual int Descriptor() const noexcept = 0;
  // Reads what made the descriptor readable. The event must be queried afterwards.
  virtual void Drain() noexcept = 0;
};

class PrivateEvent final : public EventObject {
 public:
  explicit PrivateEvent(FileDescriptor opened) noexcept : descriptor(std::move(opened)) {}

  Code Raise() noexcept override {
    if (!flag.exchange(true)) Wake();
    return kSuccess;
  }

  Code Lower() noexcept override {
    if (flag.exchange(false)) Drain();
    return kSuccess;
  }

  Code Query(bool& isRaised) noexcept override {
    isRaised = flag.load();
    return kSuccess;
  }

  [[nodiscard]] int Descriptor() const noexcept override { return descriptor.Get(); }

  void Drain() noexcept override {
    eventfd_t count = 0;
    eventfd_read(descriptor.Get(), &count);
    // If the event is raised now, the read may have consumed what wakes the other waiting threads.
    if (flag.load()) Wake();
  }

 private:
  // The only system call behind a log statement, on a thread of the client's.
  void Wake() const noexcept {
    const CancellationBlock noCancellation;
    eventfd_write(descriptor.Get(), 1);
  }

  FileDescriptor descriptor;
  std::atomic<bool> flag = false;
};

class NamedEvent final : public EventObject {
 public:
  NamedEvent(const std::string& root, std::string name) : fileName(std::move(name)) {
    directories.front() = root.empty() ? "/" : root;
    std::string path = root;
    for (std::size_t level = 0; level < kLevels.size(); ++level)
      directories[level + 1] = path.append("/").append(kLevels[level]);
    file = path + '/' + fileName;
  }

  ~NamedEvent() override { GiveBackChangeQueue(std::move(queue)); }
  NamedEvent(const NamedEvent&) = delete;
  NamedEvent& operator=(const NamedEvent&) = delete;

  Code Raise() noexcept override {
    if (const Code code = CreateFile(); code != kFileNotFound) return code;
    if (const Code code = CreateDirectories(); code != kSuccess) return code;
    return CreateFile();
  }

  Code Lower() noexcept override {
    return unlink(file.c_str()) == 0 || errno == ENOENT ? kSuccess : CodeFromErrno(errno);
  }

  void BeginWait() noexcept override {
    Drain();
    wasCreated = false;
  }

  Code Query(bool& isRaised) noexcept override {
    isRaised = wasCreated;
    if (isRaised) return kSuccess;
    if (isStale) {
      const Code code = Arm();
      if (isStale) return code;
    }
    struct stat status {};
    isRaised = lstat(file.c_str(), &status) == 0;
    return isRaised || CanAppear(errno) ? kSuccess : CodeFromErrno(errno);
  }

  [[nodiscard]] int Descriptor() const noexcept override {
    return queue == nullptr ? -1 : queue->descriptor.Get();
  }

  void Drain() noexcept override {
    alignas(inotify_event) std::array<char, 4096> buffer;
    for (;;) {
      const ssize_t size = read(Descriptor(), buffer.data(), buffer.size());
      if (size <= 0) return;
      for (ssize_t at = 0; at < size;) {
        const char* place = buffer.data() + at;
        inotify_event change{};
        std::memcpy(&change, place, sizeof(change));
        Note(change, change.len > 0 ? place + sizeof(change) : "");
        at += static_cast<ssize_t>(sizeof(change) + change.len);
      }
    }
  }

  // Without a watch.
  Code QueryOnce(bool& isRaised) const noexcept {
    struct stat status {};
    isRaised = lstat(file.c_str(), &status) == 0;
    return isRaised || errno == ENOENT || errno == ENOTDIR ? kSuccess : CodeFromErrno(errno);
  }

  Code CreateDirectories() const noexcept {
    for (std::size_t level = 1; level < directories.size(); ++level) {
      const char* path = directories[level].c_str();
      if (mkdir(path, kDirectoryMode) == 0)
        static_cast<void>(chmod(path, kDirectoryMode));  // independent of the umask
      else if (errno != EEXIST)
        return CodeFromErrno(errno);
    }
    return kSuccess;
  }

  // Watches the levels that exist, from the top. After kAccessDenied the watch covers the levels
  // above the closed one, which may be opened to this user later. After any other failure the watch
  // is stale. The queue stays open, and with it the changes that haven't been read.
  Code Arm() noexcept {
    isStale = true;
    if (queue == nullptr) queue = TakeChangeQueue();
    if (queue == nullptr) return CodeFromErrno(errno);
    Watches& watches = queue->watches;
    const Watches before = std::exchange(watches, AddWatches());
    const int reason = watches.back() == kNoWatch ? errno : 0;
    for (const int watch : before) {
      const bool isKept = std::find(watches.begin(), watches.end(), watch) != watches.end();
      if (watch != kNoWatch && !isKept) inotify_rm_watch(Descriptor(), watch);
    }
    isStale = watches.front() == kNoWatch || (reason != 0 && !CanAppear(reason));
    return isStale || reason == EACCES ? CodeFromErrno(reason) : kSuccess;
  }

  // Whether all levels existed when the watch was set up.
  [[nodiscard]] bool HasLevels() const noexcept {
    return queue != nullptr && queue->watches.back() != kNoWatch;
  }

 private:
  static constexpr mode_t kDirectoryMode = 0755;
  static constexpr std::uint32_t kOwnChanges = IN_ONLYDIR | IN_DELETE_SELF | IN_MOVE_SELF;
  static constexpr std::uint32_t kAllChanges =
      kOwnChanges | IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_ATTRIB;
  static_assert(std::tuple_size_v<Watches> == kLevels.size() + 1);  // by level

  // Whether the file may come to exist after an error of this kind.
  static bool CanAppear(int error) {
    return error == ENOENT || error == ENOTDIR || error == EACCES || error == ELOOP;
  }

  // In the upper levels, which have many unrelated changes, only changes of the level itself are of
  // interest while the next level exists. The lowest but one is watched fully: if a program holds
  // the lowest one open, its removal is reported there only.
  static bool IsUpper(std::size_t level, std::size_t count) { return level + 2 < count; }

  Watches AddWatches() const noexcept {
    Watches added;
    if (WatchLevels(added, kOwnChanges) == added.size()) return added;
    // A level is missing. It may have appeared since, so the upper ones must have been watched
    // fully when it is looked up.
    const std::size_t count = WatchLevels(added, kAllChanges);
    const int reason = errno;
    for (std::size_t level = 0; IsUpper(level, count); ++level) Watch(level, kOwnChanges);
    errno = reason;
    return added;
  }

  // A level has a watch if all levels above it have one. Returns their number; errno is that of the
  // first level without.
  std::size_t WatchLevels(Watches& added, std::uint32_t changesOfUpper) const noexcept {
    added.fill(kNoWatch);
    std::size_t count = 0;
    for (; count < added.size(); ++count) {
      added[count] = Watch(count, IsUpper(count, added.size()) ? changesOfUpper : kAllChanges);
      if (added[count] == kNoWatch) break;
    }
    return count;
  }

  int Watch(std::size_t level, std::uint32_t changes) const noexcept {
    return inotify_add_watch(Descriptor(), directories[level].c_str(), changes);
  }

  void Note(const inotify_event& change, std::string_view name) noexcept {
    if (ConcernsLevels(change, name)) isStale = true;
    if (change.wd == queue->watches.back() && (change.mask & (IN_CREATE | IN_MOVED_TO)) != 0 &&
        name == fileName)
      wasCreated = true;
  }

  // Whether a change may have replaced the directory of a level.
  static bool ConcernsLevels(const inotify_event& change, std::string_view name) {
    constexpr std::uint32_t kOwn =
        IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED | IN_Q_OVERFLOW;
    return (change.mask & kOwn) != 0 ||
           std::find(kLevels.begin(), kLevels.end(), name) != kLevels.end();
  }

  Code CreateFile() const noexcept {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor created(open(file.c_str(), kFlags, 0644));
    return created.IsOpen() || errno == EEXIST ? kSuccess : CodeFromErrno(errno);
  }

  std::array<std::string, kLevels.size() + 1> directories;  // from the machine root down
  std::string fileName;
  std::string file;  // its path, in the last of the directories
  std::unique_ptr<ChangeQueue> queue;
  bool isStale = true;      // the watches must be set up again
  bool wasCreated = false;  // the file, since the wait began
};

using EventList = std::array<EventObject*, kMaxEvents>;

Code FindRaised(const EventList& events, std::size_t count, std::size_t& index, bool& isRaised) {
  isRaised = false;
  for (std::size_t i = 0; i < count; ++i) {
    if (const Code code = events[i]->Query(isRaised); code != kSuccess) return code;
    if (!isRaised) continue;
    index = i;
    break;
  }
  return kSuccess;
}

// Returns after a change of any event.
Code SleepUntilChange(const EventList& events, std::size_t count) {
  std::array<pollfd, kMaxEvents> polled;
  for (std::size_t i = 0; i < count; ++i) polled[i] = {events[i]->Descriptor(), POLLIN, 0};
  while (poll(polled.data(), count, -1) < 0) {
    if (errno != EINTR) return CodeFromErrno(errno);
  }
  for (std::size_t i = 0; i < count; ++i) {
    if ((polled[i].revents & POLLNVAL) != 0) return kInvalidHandle;
    if (polled[i].revents != 0) events[i]->Drain();
  }
  return kSuccess;
}

Code EventFileName(const WideString& name, std::string& fileName) {
  if (name.empty() || name.find(u'\0') != WideString::npos) return kInvalidName;
  fileName = FileNameOf(name, Dots::kFirst);
  return fileName.size() > NAME_MAX ? kNameTooLong : kSuccess;
}

}  // namespace

Code MakeEvent(Handle& event) noexcept {
  event = nullptr;
  FileDescriptor descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!descriptor.IsOpen()) return CodeFromErrno(errno);
  event = new (std::nothrow) PrivateEvent(std::move(descriptor));
  return event != nullptr ? kSuccess : kNotEnoughMemory;
}

Code MakeNamedEvent(const WideString& name, Handle& event) {
  event = nullptr;
  std::string fileName;
  if (const Code code = EventFileName(name, fileName); code != kSuccess) return code;
  auto named = std::make_unique<NamedEvent>(MachineRoot(), fileName);
  Code code = named->Arm();
  if (!named->HasLevels()) {
    // A process that isn't allowed to create them waits until another one does.
    static_cast<void>(named->CreateDirectories());
    code = named->Arm();
  }
  if (code == kSuccess) event = named.release();
  return code;
}

Code QueryNamedEvent(const WideString& name, bool& isRaised) {
  std::string fileName;
  if (const Code code = EventFileName(name, fileName); code != kSuccess) return code;
  return NamedEvent(MachineRoot(), fileName).QueryOnce(isRaised);
}

Code RaiseEvent(Handle event) noexcept {
  auto* object = ObjectOf<EventObject>(event);
  return object != nullptr ? object->Raise() : kInvalidHandle;
}

Code LowerEvent(Handle event) noexcept {
  auto* object = ObjectOf<EventObject>(event);
  return object != nullptr ? object->Lower() : kInvalidHandle;
}

Code WaitForAny(const Handle* events, std::size_t count, std::size_t& index) noexcept {
  if (count == 0 || count > kMaxEvents) return kInvalidParameter;
  EventList objects;
  for (std::size_t i = 0; i < count; ++i) {
    objects[i] = ObjectOf<EventObject>(events[i]);
    if (objects[i] == nullptr) return kInvalidHandle;
  }
  for (std::size_t i = 0; i < count; ++i) objects[i]->BeginWait();
  for (;;) {
    bool isRaised = false;
    const Code found = FindRaised(objects, count, index, isRaised);
    if (found != kSuccess || isRaised) return found;
    if (const Code code = SleepUntilChange(objects, count); code != kSuccess) return code;
  }
}

}  // namespace larder::platform
