// Names that only Windows has.
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::HasSubstr;

// A file that is deleted again, since std::filesystem can't.
class VerbatimFile {
 public:
  VerbatimFile(const std::filesystem::path& folder, const std::wstring& name)
      : path(L"\\\\?\\" + folder.wstring() + L"\\" + name) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE) << GetLastError();
    CloseHandle(file);
  }
  VerbatimFile(const VerbatimFile&) = delete;
  VerbatimFile& operator=(const VerbatimFile&) = delete;
  ~VerbatimFile() { DeleteFileW(path.c_str()); }

 private:
  const std::wstring path;
};

using ToolWindowsTest = ToolTest;

TEST_F(ToolWindowsTest, AFileHasItsOwnDigestsEvenIfWindowsWouldReadItsNameAsAnotherOne) {
  InstallModules({"feed-file.dll"});
  for (const char* name : {"tree/evil.exe", "tree/plain"}) MakeFile(name, "abc");
  const std::filesystem::path tree = machine.Folder() / "tree";
  const VerbatimFile evil(tree, L"evil.exe ");
  const VerbatimFile device(tree, L"AUX.txt");
  const VerbatimFile console(tree, L"CON");
  const std::string prefix = R"(\\?\)" + tree.string() + "\\";
  const std::string empty = "e3b0c442  ";
  const std::string abc = "ba7816bf  ";
  std::istringstream output(MustRun({"scan", "tree"}));
  std::string lines;
  for (std::string line; std::getline(output, line);)
    lines += line.substr(0, 8) + line.substr(64) + "\n";
  EXPECT_EQ(lines, empty + prefix + "AUX.txt\n" + empty + prefix + "CON\n" + abc +
                       "tree\\evil.exe\n" + empty + prefix + "evil.exe \n" + abc + "tree\\plain\n");
  for (const char* name : {"tree/evil.exe ", "tree/sub/../AUX.txt"})
    EXPECT_THAT(MustRun({"query", "--json", name}), HasSubstr("\"sha256\":\"e3b0c442")) << name;
}

}  // namespace
}  // namespace larder
