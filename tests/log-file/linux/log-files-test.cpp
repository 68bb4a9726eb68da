// A folder that can be read only in part, which a replaced readdir arranges.
#include "log-file/log-files.h"

#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "testing/files.h"
#include "testing/test-machine.h"

namespace {

int entriesUntilFailure = -1;  // negative: no failure

}  // namespace

extern "C" dirent* readdir(DIR* stream) {
  if (entriesUntilFailure == 0) return errno = EIO, nullptr;
  if (entriesUntilFailure > 0) --entriesUntilFailure;
  static const auto original = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
  return original(stream);
}

namespace larder {
namespace {

TEST(LogFiles, ThoseThatWereFoundBeforeAFailureAreListed) {
  const TestMachine machine;
  const std::filesystem::path folder = PathOf(GetLarderLogPath());
  std::filesystem::create_directories(folder);
  for (const char* const name : {"a.log", "b.log", "c.log"}) std::ofstream(folder / name) << "x";
  entriesUntilFailure = 4;  // two of which may be "." and ".."
  const std::size_t count = GetLogFiles(LARDER_WIDE("*.log")).size();
  EXPECT_EQ(entriesUntilFailure, 0);
  entriesUntilFailure = -1;
  EXPECT_TRUE(count == 2 || count == 3) << count;
  EXPECT_EQ(GetLogFiles(LARDER_WIDE("*.log")).size(), 3u);
}

}  // namespace
}  // namespace larder
