#include "feed-file/store-log.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>

#include "common/registry-value.h"
#include "platform/folder.h"
#include "platform/log-file.h"
#include "platform/scoped-handle.h"
#include "product/product.h"

namespace larder::feed {
namespace {

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

// Creates the logs directory and the levels above it.
bool CreateLogFolder(WideString& path) {
  if (platform::CommonFolderPath(platform::CommonFolder::kData, path) != platform::kSuccess) {
    return false;
  }
  for (const WideView level : {kMakerFolder, kProductFolder, kLogsFolder}) {
    path += '\\';
    const platform::Code code = platform::MakeFolder(path.append(level));
    if (code != platform::kSuccess && code != platform::kAlreadyExists) return false;
  }
  return true;
}

void Append(const WideString& path, const std::string& line) {
  platform::OwnedHandle file;
  platform::OpenFileToWrite(path, platform::WriteMode::kWrite, file.Out());
  std::uint64_t size = 0;
  if (platform::SeekToEnd(file.Get(), size) == platform::kSuccess) {
    platform::WriteOnce(file.Get(), line.data(), static_cast<std::uint32_t>(line.size()));
  }
}

}  // namespace

void LogWarning(const std::string& text) noexcept try {
  WideString path;
  if (!IsLoggingEnabled() || !CreateLogFolder(path)) return;
  Append(path.append(LARDER_WIDE("\\")).append(kFeedFileLog), Stamp() + text + "\r\n");
} catch (const std::exception&) {
  return;
}

}  // namespace larder::feed
