// What the files of a run contain, and the digest that a right answer has.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace larder::soak {

using Sha256 = std::array<std::uint8_t, 32>;

// The same bytes for the same arguments.
std::string MakeContent(std::uint64_t seed, std::size_t size);

Sha256 DigestOf(std::string_view bytes);

// The first bytes in hexadecimal, for messages.
std::string Short(const Sha256& digest);

}  // namespace larder::soak
