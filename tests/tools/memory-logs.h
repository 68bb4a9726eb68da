// A run's files in memory, in place of the platform's files, so that a host's steps can come
// between any two operations of a reader.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder {

// One at a time; the platform's operations work on it while it lives. Not for several threads.
class MemoryLogs {
 public:
  MemoryLogs();
  ~MemoryLogs();
  MemoryLogs(const MemoryLogs&) = delete;
  MemoryLogs& operator=(const MemoryLogs&) = delete;

  void Append(const WideString& path, const std::string& bytes);
  // Renames as a system does: nothing happens without a file, or with one at the new path.
  void Rename(const WideString& from, const WideString& to);
  void Remove(const WideString& path);

  std::function<void()> beforeEachOperation = [] {};

  struct File {
    std::uint64_t index;
    std::string bytes;
  };
  struct Reading {
    std::shared_ptr<File> file;
    std::size_t position = 0;
  };
  // Null when there is no such file.
  Reading* Open(const WideString& path);
  static MemoryLogs& Current();

 private:
  std::map<WideString, std::shared_ptr<File>> files;
  std::vector<std::unique_ptr<Reading>> readings;
  std::uint64_t lastIndex = 0;
};

}  // namespace larder
