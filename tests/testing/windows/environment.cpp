#include "testing/environment.h"

#include <stdlib.h>

namespace larder {

void SetEnvironmentText(const std::string& name, const std::string& value) {
  ::_putenv_s(name.c_str(), value.c_str());
}

}  // namespace larder
