#include "tools/larder/linux/trace-folder.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <system_error>

#include "platform/message.h"
#include "tools/larder/cli/path.h"

namespace larder::tool {
namespace {

namespace fs = std::filesystem;

fs::path TracesFolder() {
  // NOLINTBEGIN(concurrency-mt-unsafe): nothing changes the environment
  const char* home = std::getenv("LTTNG_HOME");
  if (home == nullptr) home = std::getenv("HOME");
  // NOLINTEND(concurrency-mt-unsafe)
  if (home == nullptr) throw std::runtime_error("there is no home folder: HOME isn't set");
  if (*home != '/') {
    throw std::runtime_error("there is no home folder: \"" + std::string(home) +
                             "\" isn't a full path");
  }
  return fs::path(home) / "lttng-traces";
}

// Links to the folder of the last session.
fs::path LastTraceLink() { return TracesFolder() / TraceSessionName(); }

[[noreturn]] void ThrowFailure(const std::string& what, const fs::path& path,
                               const std::string& reason) {
  throw std::runtime_error("cannot " + what + " " + path.string() + ": " + reason);
}

}  // namespace

std::string TraceSessionName() { return "larder-" + std::to_string(getuid()); }

fs::path FullFolder(const std::string& given) {
  WideString full;
  const platform::Code code = FullPath(given, full);
  if (code != platform::kSuccess)
    ThrowFailure("use the folder", given, platform::SystemReason(code));
  return PathText(full);
}

fs::path NewTraceFolder() {
  const std::time_t now = std::time(nullptr);
  std::array<char, 20> text;
  std::tm fields{};
  std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", gmtime_r(&now, &fields));
  const fs::path first = TracesFolder() / (TraceSessionName() + "-" + text.data());
  fs::path folder = first;
  std::error_code ignored;
  for (int number = 2; fs::exists(folder, ignored); ++number) {
    folder = first.string() + "-" + std::to_string(number);
  }
  return folder;
}

void MakeTraceFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder.parent_path(), error);
  const bool isNew = !error && fs::create_directory(folder, error);
  if (isNew) fs::permissions(folder, fs::perms::owner_all, error);
  const bool isEmpty = !error && fs::is_empty(folder, error);
  if (error) ThrowFailure("use the folder", folder, error.message());
  if (!isEmpty) ThrowFailure("use the folder", folder, "it isn't empty");
}

void RemoveEmptyFolders(const fs::path& folder) {
  std::error_code ignored;
  for (fs::directory_iterator entry(folder, ignored), end; entry != end; entry.increment(ignored)) {
    if (entry->symlink_status(ignored).type() == fs::file_type::directory) {
      RemoveEmptyFolders(entry->path());
    }
  }
  fs::remove(folder, ignored);
}

void RememberTraceFolder(const fs::path& folder) {
  const fs::path link = LastTraceLink();
  std::error_code error;
  fs::create_directories(link.parent_path(), error);
  if (fs::is_symlink(link, error)) fs::remove(link, error);  // another file stays
  fs::create_directory_symlink(folder, link, error);
  if (error) ThrowFailure("make the link", link, error.message());
}

fs::path LastTraceFolder() {
  std::error_code ignored;
  return fs::read_symlink(LastTraceLink(), ignored);
}

}  // namespace larder::tool
