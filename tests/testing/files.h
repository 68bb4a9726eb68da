// Reads the files of a test.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/wide.h"

namespace larder {

// A path with backslashes as a path of the system.
inline std::filesystem::path PathOf(WideString path) {
  std::replace(path.begin(), path.end(), LarderWideChar('\\'), LarderWideChar('/'));
  return {path};
}

// All bytes of a file; empty if there is none.
inline std::string ContentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace larder
