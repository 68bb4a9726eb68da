// What only a Windows machine has.
#include <gmock/gmock.h>
#include <windows.h>

#include <fstream>

#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using ToolWindowsTest = ToolTest;

TEST_F(ToolWindowsTest, ADirectoryWithAFileInUseIsAFailureWithTheReason) {
  const auto folder = machine.Folder() / "modules";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "file") << "content";
  const std::string program = RegistryTextOf(folder);
  MustRun({"registry", "set", "Install", "szLocation", program});
  const HANDLE file =
      CreateFileW((folder / "file").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  const ToolRun run = Run({"remove", "--program", program, "--yes"});
  CloseHandle(file);
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("larder: cannot delete all of the program directory "));
  EXPECT_THAT(run.errors, HasSubstr("larder: SHFileOperation() failed: "));
  EXPECT_TRUE(std::filesystem::exists(folder / "file"));
}

}  // namespace
}  // namespace larder
