// The tables of an image in memory (PE format).
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace larder::tool {

struct ImportedLibrary {
  std::string name;
  std::vector<std::string> symbols;  // without those that are imported by number
};

// module: mapped by the system, which has checked the headers; it need not be initialised.
[[nodiscard]] std::vector<ImportedLibrary> ImportsOf(HMODULE module);

// One of the image's directories: an address in the image, or null if it has none.
[[nodiscard]] const unsigned char* ImageDirectory(HMODULE module, unsigned index);

}  // namespace larder::tool
