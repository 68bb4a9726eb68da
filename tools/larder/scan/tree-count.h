// How much there is to be done, counted ahead.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/scoped-handles.h"

namespace larder::tool {

struct Amount {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
};

// Walks the trees on a thread of its own, without opening a file.
class TreeCount {
 public:
  // Without a thread nothing is ever known.
  explicit TreeCount(std::vector<std::string> newRoots);
  ~TreeCount();  // ends the walk
  TreeCount(const TreeCount&) = delete;
  TreeCount& operator=(const TreeCount&) = delete;

  // Nothing until the walk has come to its end. Any thread.
  [[nodiscard]] std::optional<Amount> Total() const;

 private:
  static void Run(void* count) noexcept;
  void Count();

  const std::vector<std::string> roots;
  std::atomic<bool> isStopped = false;
  std::atomic<bool> isDone = false;
  Amount total;  // the thread's until isDone
  AutoHandle thread;
};

}  // namespace larder::tool
