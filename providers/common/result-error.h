// The exception by which a provider chooses the client's result.
#pragma once

#include <cstdint>
#include <string>
#include <system_error>

namespace larder::feed {

// Out of GetKey or Query it makes LarderQuery return the code as it stands. Its text is the given
// one followed by ": result CODE".
std::system_error ResultError(std::int32_t code, const std::string& text);

}  // namespace larder::feed
