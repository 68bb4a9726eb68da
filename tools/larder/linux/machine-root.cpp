#include "tools/larder/status/machine-root.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/native.h"
#include "platform/message.h"

namespace larder::tool {

std::string MachineRootFault() {
  const std::string root = platform::MachineRoot();
  struct stat status {};
  if (root.empty()) return {};
  std::string reason;
  if (stat(root.c_str(), &status) == 0 && !S_ISDIR(status.st_mode)) {
    reason = "it isn't a folder";
  } else if (faccessat(AT_FDCWD, root.c_str(), X_OK, AT_EACCESS) != 0) {
    reason = platform::SystemReason(platform::CodeFromErrno(errno));
  }
  if (reason.empty()) return {};
  return "the machine root that LARDER_ROOT names, " + root + ", can't be used: " + reason +
         "; correct the variable, or create the folder and run \"larder setup\"";
}

}  // namespace larder::tool
