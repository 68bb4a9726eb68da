#include "tools/larder/scan/tree-count.h"

#include <exception>
#include <utility>

#include "platform/thread.h"
#include "tools/larder/scan/tree-walk.h"

namespace larder::tool {

TreeCount::TreeCount(std::vector<std::string> newRoots) : roots(std::move(newRoots)) {
  platform::StartThread(&Run, this, thread.Out());
}

TreeCount::~TreeCount() {
  isStopped = true;
  platform::WaitForThread(thread.Get());
}

std::optional<Amount> TreeCount::Total() const {
  if (!isDone) return std::nullopt;
  return total;
}

// What goes wrong here leaves a total that never comes; the scan itself tells of it.
void TreeCount::Run(void* count) noexcept {
  try {
    static_cast<TreeCount*>(count)->Count();
  } catch (const std::exception&) {
    return;
  }
}

void TreeCount::Count() {
  TreeWalk walk(roots, [this] { return isStopped.load(); });
  FoundFile found;
  while (walk.Next(found)) {
    if (!found.error.empty()) continue;
    ++total.files;
    total.bytes += found.size;
  }
  isDone = !isStopped;
}

}  // namespace larder::tool
