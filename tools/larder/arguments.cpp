#include "arguments.h"

#include <algorithm>

#include "platform/utf.h"

namespace larder::tool {
namespace {

constexpr char kShield = '\x01';

bool IsMisread(const std::string& argument) {
  if (argument.empty()) return false;
  return argument == "++" || argument.front() == kShield ||
         (argument.front() == '[' && argument.back() == ']');
}

}  // namespace

std::vector<std::string> ShieldArguments(const std::vector<std::string>& arguments) {
  std::vector<std::string> result;
  bool isPlain = false;
  for (const std::string& argument : arguments) {
    if (!isPlain && argument == "--") {
      isPlain = true;
    } else {
      result.push_back(isPlain || IsMisread(argument) ? kShield + argument : argument);
    }
  }
  return result;
}

std::string Unshield(const std::string& argument) {
  return argument.starts_with(kShield) ? argument.substr(1) : argument;
}

std::string UnshieldMessage(std::string message) {
  message.erase(std::remove(message.begin(), message.end(), kShield), message.end());
  return message;
}

WideString WideArgument(const std::string& name, const std::string& argument) {
  WideString wide;
  if (!platform::WideFromUtf8(Unshield(argument), wide)) {
    throw CLI::ValidationError(name, "not UTF-8: " + argument);
  }
  return wide;
}

}  // namespace larder::tool
