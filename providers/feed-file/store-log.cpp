#include "feed-file/store-log.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <mutex>
#include <utility>

#include "common/registry-value.h"
#include "platform/file.h"
#include "platform/folder-access.h"
#include "platform/folder.h"
#include "platform/lock.h"
#include "platform/log-file.h"
#include "platform/scoped-handle.h"
#include "platform/thread.h"
#include "product/product.h"

namespace larder::feed {
namespace {

constexpr LarderWideChar kLockName[] = LARDER_WIDE("feedf.lock");

bool IsLoggingEnabled() { return ReadRegistryText(kLoggingKey, kLoggingValue) == kLoggingOn; }

// "24/02/29 11:09:55:  WARN: ", in UTC: the beginning of the library's own lines.
std::string Stamp() {
  const auto now = std::chrono::system_clock::now();
  const auto day = std::chrono::floor<std::chrono::days>(now);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(std::chrono::floor<std::chrono::seconds>(now - day));
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(),
                "%02d/%02u/%02u %02d:%02d:%02d:  WARN: ", static_cast<int>(date.year()) % 100,
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text.data();
}

// Creates the logs directory and the levels above it. False if others could redirect it.
bool CreateLogFolder(WideString& path) {
  if (platform::CommonFolderPath(platform::CommonFolder::kData, path) != platform::kSuccess) {
    return false;
  }
  for (const WideView level : {kMakerFolder, kProductFolder, kLogsFolder}) {
    path += '\\';
    const platform::Code code = platform::MakeFolder(path.append(level));
    if (code != platform::kSuccess && code != platform::kAlreadyExists) return false;
  }
  return platform::DataFolderDistrust(path, platform::OtherUsers::kMayAdd).reason.empty();
}

WideString Generation(const WideString& path, std::uint32_t number) {
  if (number == 0) return path;
  const std::string digits = '.' + std::to_string(number);
  return path + WideString(digits.begin(), digits.end());
}

// Opens the log for appending. Returns its size, or 0 if that fails.
std::uint64_t OpenAtEnd(const WideString& path, platform::OwnedHandle& file) {
  platform::OpenFileToAppend(path, file.Out());
  std::uint64_t size = 0;
  return platform::SeekToEnd(file.Get(), size) == platform::kSuccess ? size : 0;
}

// Returns without rotating while another process does, or if it has just done so: rotating twice
// would drop a generation for an almost empty one.
void Rotate(const WideString& path, const WideString& lockPath) {
  platform::OwnedHandle lock;
  platform::OpenLockFile(lockPath, lock.Out());
  if (platform::TryLockFile(lock.Get()) == platform::kSharingViolation) return;
  platform::OwnedHandle current;
  if (OpenAtEnd(path, current) < kMaxLogSize) return;
  current = platform::InvalidHandle();
  platform::RemoveFile(Generation(path, kMaxLogGenerations));
  for (std::uint32_t i = kMaxLogGenerations; i > 0; --i) {
    platform::RenameFile(Generation(path, i - 1), Generation(path, i));
  }
}

// If the file is renamed after it was opened, the line is in the generation ".1".
void Append(const WideString& folder, const std::string& line) {
  const platform::FileSizeSignalBlock block;
  const WideString path = folder + kFeedFileLog;
  platform::OwnedHandle file;
  if (OpenAtEnd(path, file) >= kMaxLogSize) {
    file = platform::InvalidHandle();
    Rotate(path, folder + kLockName);
    OpenAtEnd(path, file);
  }
  platform::WriteOnce(file.Get(), line.data(), static_cast<std::uint32_t>(line.size()));
}

// Bounds the rate of lines.
class Rate {
 public:
  // Whether the text may be logged now; leftOut: how many texts were refused before it.
  bool Allows(const std::string& text, unsigned& leftOut) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point now = Clock::now();
    const std::size_t hash = std::hash<std::string>()(text);
    const std::lock_guard guard(lock);
    if (now >= end) {
      end = now + std::chrono::minutes(1);
      count = 0;
    }
    for (std::size_t i = 0; i < count; ++i) {
      if (logged[i] == hash) return ++refused, false;
    }
    if (count == logged.size()) return ++refused, false;
    logged[count++] = hash;
    leftOut = std::exchange(refused, 0);
    return true;
  }

 private:
  platform::Lock lock;  // guards the rest
  std::chrono::steady_clock::time_point end;
  std::array<std::size_t, 20> logged{};  // of this minute: hashes of the texts
  std::size_t count = 0;
  unsigned refused = 0;
};

Rate CurrentRate;

}  // namespace

void LogWarning(const std::string& text) noexcept try {
  WideString folder;
  unsigned leftOut = 0;
  if (!IsLoggingEnabled() || !CurrentRate.Allows(text, leftOut) || !CreateLogFolder(folder)) return;
  const std::string note =
      leftOut == 0 ? "" : " (before this, " + std::to_string(leftOut) + " lines were left out)";
  Append(folder + LARDER_WIDE("\\"), Stamp() + text + note + "\r\n");
} catch (const std::exception&) {
  return;
}

}  // namespace larder::feed
