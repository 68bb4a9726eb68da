// UTF-16 to UTF-8 and back for names that cross to a system or a person. Surrogate pairs are
// joined; a lone surrogate is carried through as its three bytes, so that every wide name survives
// a round trip. (The log's own conversion, which takes each unit by itself, is WideToUtf8 in
// support/text.)
#pragma once

#include <string>
#include <string_view>

#include "platform/wide.h"

namespace larder::platform {

std::string Utf8FromWide(WideView text);

// False when the bytes are no UTF-8 (overlong forms, values above U+10FFFF and cut sequences
// included; lone surrogates pass). wide is untouched then.
[[nodiscard]] bool WideFromUtf8(std::string_view utf8, WideString& wide);

}  // namespace larder::platform
