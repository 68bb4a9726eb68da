// A machine for each test, and files on it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "platform/code.h"
#include "platform/wide.h"
#include "testing/files.h"
#include "testing/test-machine.h"

namespace larder::platform {

inline WideString Wide(std::string_view utf8) {
  WideString wide;
  EXPECT_TRUE(WideFromUtf8(utf8, wide)) << utf8;
  return wide;
}

inline WideString WidePathOf(const std::filesystem::path& path) {
  const std::u8string bytes = path.u8string();
  WideString wide = Wide({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  std::replace(wide.begin(), wide.end(), LarderWideChar{'/'}, LarderWideChar{'\\'});
  return wide;
}

inline void WriteFile(const std::filesystem::path& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

// Names are UTF-8, below the machine's folder.
class MachineTest : public ::testing::Test {
 protected:
  WideString InFolder(const std::string& name) const { return machine.WideFolder() + Wide(name); }
  std::filesystem::path Native(const std::string& name) const {
    return machine.Folder() / std::filesystem::u8path(name);
  }
  void Write(const std::string& name, const std::string& content = "") const {
    WriteFile(Native(name), content);
  }
  std::string Content(const std::string& name) const { return ContentOf(Native(name)); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Native(name)); }

  TestMachine machine;
};

}  // namespace larder::platform
