#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "platform/module-files.h"
#include "platform/module.h"
#include "testing/test-machine.h"

namespace larder::platform {
namespace {

TEST(ModuleImageTest, AnImageOf32BitsIsBad) {
  TestMachine machine;
  std::string image = FileContent(FixtureFolder() / "plain-module.dll");
  IMAGE_DOS_HEADER start;
  std::memcpy(&start, image.data(), sizeof(start));
  IMAGE_NT_HEADERS64 head;
  char* place = image.data() + start.e_lfanew;
  std::memcpy(&head, place, sizeof(head));
  head.FileHeader.Machine = IMAGE_FILE_MACHINE_I386;
  head.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR32_MAGIC;
  std::memcpy(place, &head, sizeof(head));
  const std::filesystem::path path = machine.Folder() / "module.dll";
  WriteFile(path, image);
  ModuleHandle module = nullptr;
  EXPECT_EQ(OpenModule(WidePathOf(path), module), kBadExeFormat);
  EXPECT_EQ(module, nullptr);
}

}  // namespace
}  // namespace larder::platform
