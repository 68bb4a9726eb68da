#include <utility>

#include "tools/run-program.h"

namespace larder {

std::optional<std::string> RunningProgram::ReadLine() {
  for (;;) {
    const std::size_t end = pending.find('\n');
    if (end != std::string::npos) {
      std::string line = pending.substr(0, end);
      pending.erase(0, end + 1);
      return line;
    }
    char bytes[4096];
    const std::size_t got = ReadSome(bytes, sizeof bytes);
    if (got != 0) {
      pending.append(bytes, got);
    } else if (pending.empty()) {
      return std::nullopt;
    } else {
      return std::exchange(pending, {});
    }
  }
}

}  // namespace larder
