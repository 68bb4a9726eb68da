// This program's file, the modules that were built for these tests (see fixtures/), and one that is
// loaded.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "platform/machine-fixture.h"
#include "platform/scoped-handle.h"

namespace larder::platform {

inline std::filesystem::path ThisProgram() {
  WideString image;
  EXPECT_EQ(HostImagePath(image), kSuccess);
  std::string path = Utf8FromWide(image);
  std::replace(path.begin(), path.end(), '\\', '/');
  return std::filesystem::u8path(path);
}

inline std::filesystem::path FixtureFolder() {
  return ThisProgram().parent_path() / "platform-fixtures";
}

class ModuleTest : public MachineTest {
 protected:
  Code Open(const std::filesystem::path& path) {
    module = {};
    return OpenModule(WidePathOf(path), module.Out());
  }
  // The result of the module's one export; -1 if there is none.
  int Answer() const {
    const auto answer = reinterpret_cast<int (*)()>(FindSymbol(module.Get(), "LarderTestAnswer"));
    return answer != nullptr ? answer() : -1;
  }

  const std::string image = ContentOf(FixtureFolder() / "plain-module.dll");
  OwnedModule module;
};

}  // namespace larder::platform
