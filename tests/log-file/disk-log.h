// A log on disk in a test's own folder.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "log-file/disk-logger.h"
#include "testing/files.h"
#include "testing/test-machine.h"

namespace larder {

class DiskLog : public testing::Test {
 protected:
  static constexpr std::uint32_t kLimit = 102400;

  std::filesystem::path File(int generation = 0) const {
    const std::string suffix = generation == 0 ? "" : "." + std::to_string(generation);
    return machine.Folder() / ("lr_1A2B.log" + suffix);
  }
  std::string Read(int generation = 0) const { return ContentOf(File(generation)); }
  void Fill(int generation, std::size_t size, char with = '.') const {
    std::ofstream(File(generation), std::ios::binary) << std::string(size, with);
  }

  // Passes a logger to feed and deletes it, so that its lines are on disk when this returns.
  template <typename Feed>
  void WithLogger(Feed feed, std::uint32_t backups = 5, std::uint32_t limit = kLimit) const {
    DiskLogger logger(machine.WideFolder() + LARDER_WIDE("lr_1A2B.log"), limit, backups);
    feed(logger);
  }
  void LogLines(const char* line, int count = 1, std::uint32_t backups = 5) const {
    const auto log = [&](DiskLogger& logger) {
      for (int i = 0; i < count; ++i) logger.Log(line);
    };
    WithLogger(log, backups);
  }

  TestMachine machine;
};

}  // namespace larder
