#include <stdexcept>

#include "soak/process.h"

namespace larder::soak {

void Worker::MustSucceed(std::chrono::milliseconds most) {
  const Ending ending = Wait(most);
  if (ending.IsSuccess()) return;
  std::string text = "worker";
  for (const std::string& argument : arguments) text += ' ' + argument;
  throw std::runtime_error(text + ": " + ending.Text());
}

}  // namespace larder::soak
