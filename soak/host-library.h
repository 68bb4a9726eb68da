// The library as a program uses it that loads and unloads it at run time.
#pragma once

#include <larder/larder.h>

#include <filesystem>

#include "platform/module.h"
#include "platform/wide.h"

namespace larder::soak {

// A path as the library expects it.
WideString WideOf(const std::filesystem::path& path);

class Library {
 public:
  Library();   // loads the library beside this program; throws Fault
  ~Library();  // unloads it, whatever it is doing
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  decltype(&LarderInit) init = nullptr;
  decltype(&LarderRelease) release = nullptr;
  decltype(&LarderQuery) query = nullptr;
  decltype(&LarderFreeQuery) freeQuery = nullptr;
  decltype(&LarderWrite) write = nullptr;

 private:
  platform::ModuleHandle module = nullptr;
};

// Whether the library is mapped.
bool IsLibraryLoaded();

}  // namespace larder::soak
