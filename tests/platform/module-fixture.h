// A module that is loaded, on a machine of its own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/machine-fixture.h"
#include "platform/module-files.h"

namespace larder::platform {

class ModuleTest : public MachineTest {
 protected:
  ~ModuleTest() override { CloseModule(module); }

  Code Open(const std::filesystem::path& path) {
    CloseModule(module);
    return OpenModule(WidePathOf(path), module);
  }
  // What the module's one export gives; -1 where there is none.
  static int Answer(ModuleHandle from) {
    const auto answer = reinterpret_cast<int (*)()>(FindSymbol(from, "LarderTestAnswer"));
    return answer != nullptr ? answer() : -1;
  }

  std::string plainModule = FileContent(FixtureFolder() / "plain-module.dll");
  ModuleHandle module = nullptr;
};

}  // namespace larder::platform
