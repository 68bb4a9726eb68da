#include "tools/larder/cli/output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "tools/larder/cli/errors.h"

namespace larder::tool {

void Output::Write(std::string_view text) {
  if (Failed() || text.empty()) return;
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size()) return;
  error = errno != 0 ? errno : EIO;
}

void Output::Flush() {
  errno = 0;
  if (std::fflush(stdout) != 0 && !Failed()) error = errno != 0 ? errno : EIO;
}

bool Output::Finish() {
  Flush();
  if (!Failed()) return true;
  PrintError("cannot write to standard output: " + std::generic_category().message(error));
  return false;
}

}  // namespace larder::tool
