#include "tools/larder/status/machine-root.h"

#include <sys/stat.h>

#include <cerrno>

#include "platform/linux/native.h"
#include "platform/message.h"

namespace larder::tool {

std::string MachineRootFault() {
  const std::string root = platform::MachineRoot();
  struct stat status {};
  if (root.empty()) return {};
  std::string reason;
  if (stat(root.c_str(), &status) != 0) {
    reason = platform::SystemReason(platform::CodeFromErrno(errno));
  } else if (!S_ISDIR(status.st_mode)) {
    reason = "it isn't a folder";
  }
  if (reason.empty()) return {};
  return "the machine root that LARDER_ROOT names, " + root + ", can't be used: " + reason +
         "; correct the variable, or create the folder and run \"larder setup\"";
}

}  // namespace larder::tool
