// What a provider throws, as the tool reports it.
#pragma once

#include <exception>
#include <string>
#include <system_error>

#include "tools/larder/status/child-report.h"

namespace larder::tool {

// What a call threw; nothing if it returned.
struct Thrown {
  bool isAny = false;
  std::string text;  // "it throws an exception: <what()>"
  bool isStandard = true;
  bool hasCodeZero = false;  // the host would take it for a success
};

struct CopyEnd {
  ~CopyEnd() { EndIfCopied(); }
};

// The text is read while the module is loaded, since the exception's code may be in it. Doesn't
// return in a copy of the process.
template <typename Call>
Thrown CatchFrom(const Call& call) {
  const CopyEnd end;
  const auto textOf = [](const std::exception& error) {
    return "it throws an exception: " + std::string(error.what()).substr(0, kMaxExceptionText);
  };
  try {
    call();
    return {};
  } catch (const std::system_error& error) {
    return {true, textOf(error), true, error.code().value() == 0};
  } catch (const std::exception& error) {
    return {true, textOf(error)};
  } catch (...) {
    return {true, "it throws something that isn't a std::exception", false};
  }
}

}  // namespace larder::tool
