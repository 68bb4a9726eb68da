// UTF-16 to UTF-8 and back. A surrogate pair becomes one character; a lone surrogate becomes the
// three bytes of its value, so that every wide text survives a round trip.
#pragma once

#include <string>
#include <string_view>

#include "platform/wide.h"

namespace larder::platform {

std::string Utf8FromWide(WideView text);

// Returns false if the text isn't UTF-8: invalid bytes, truncated sequences, overlong forms, values
// above U+10FFFF, or a surrogate pair in two sequences. Lone surrogates are accepted.
[[nodiscard]] bool WideFromUtf8(std::string_view utf8, WideString& wide);

}  // namespace larder::platform
