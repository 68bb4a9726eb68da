#include "testing/environment.h"

#include <stdlib.h>

namespace larder {

void SetEnvironmentText(const std::string& name, const std::string& value) {
  ::setenv(name.c_str(), value.c_str(), 1);
}

}  // namespace larder
