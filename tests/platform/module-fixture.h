// This program's file, the modules that were built for these tests (see fixtures/), and a module
// that is loaded.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "platform/machine-fixture.h"
#include "platform/module.h"

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
  ~ModuleTest() override { CloseModule(module); }

  Code Open(const std::filesystem::path& path) {
    CloseModule(module);
    return OpenModule(WidePathOf(path), module);
  }
  static std::string PlainModule() { return FileContent(FixtureFolder() / "plain-module.dll"); }
  // What the module's one export gives; -1 where there is none.
  static int Answer(ModuleHandle from) {
    const auto answer = reinterpret_cast<int (*)()>(FindSymbol(from, "LarderTestAnswer"));
    return answer != nullptr ? answer() : -1;
  }

  ModuleHandle module = nullptr;
};

}  // namespace larder::platform
