// This program's file, and the modules that were built for these tests; see fixtures/.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/module.h"
#include "platform/utf.h"

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

inline std::string FileContent(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

inline WideString WidePathOf(const std::filesystem::path& path) {
  WideString wide;
  const std::u8string bytes = path.u8string();
  EXPECT_TRUE(WideFromUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, wide));
  std::replace(wide.begin(), wide.end(), LarderWideChar{'/'}, LarderWideChar{'\\'});
  return wide;
}

}  // namespace larder::platform
