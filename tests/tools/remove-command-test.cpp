#include <gmock/gmock.h>

#include <fstream>

#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// The machine's data directory with a log in it. On Windows it is the real one: what was there
// before is put aside meanwhile.
class DataFolder {
 public:
  explicit DataFolder(std::filesystem::path folder)
      : path(std::move(folder)), aside(path.parent_path() / (path.filename().string() + "-aside")) {
    if (std::filesystem::exists(path)) std::filesystem::rename(path, aside);
    std::filesystem::create_directories(path / "logs");
    std::ofstream(path / "logs" / "lr_1.log") << "line";
  }
  ~DataFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
    std::filesystem::rename(aside, path, ignored);
    if (std::filesystem::is_empty(path.parent_path(), ignored)) {
      std::filesystem::remove(path.parent_path(), ignored);
    }
  }
  DataFolder(const DataFolder&) = delete;
  DataFolder& operator=(const DataFolder&) = delete;

  bool Exists() const { return std::filesystem::exists(path); }

  const std::filesystem::path path;

 private:
  const std::filesystem::path aside;
};

class RemoveCommandTest : public ToolTest {
 protected:
  RemoveCommandTest() : data(LogsPath().parent_path()) {
    MustRun({"registry", "set", "Logging", "szOther", "text"});
  }

  bool HasRegistry() { return !Run({"registry", "list"}).output.empty(); }

  // A folder of modules that the registry names; gives the registry's text.
  std::string MakeProgramFolder() {
    MakeFile("modules/inner/file", "content");
    std::string text = RegistryTextOf(ProgramFolder());
    MustRun({"registry", "set", "Install", "szLocation", text});
    return text;
  }
  std::filesystem::path ProgramFolder() const { return machine.Folder() / "modules"; }

  DataFolder data;
};

TEST_F(RemoveCommandTest, NothingGoesWithoutAYes) {
  for (const char* answer : {"", "\n", "n\n", "yep\n", " y\n", "no, yes\ny\n"}) {
    const ToolRun run = Run({"remove", "--registry", "--data"}, answer);
    EXPECT_EQ(run.status, 1) << answer;
    EXPECT_EQ(run.errors, "larder: nothing was deleted\n") << answer;
    EXPECT_THAT(run.output,
                AllOf(HasSubstr("data directory " + Utf8Of((data.path / "").make_preferred())),
                      HasSubstr("registry key Software\\Velmor\\Larder\n"),
                      EndsWith("Delete these? [y/N] \n")))
        << answer;
    EXPECT_TRUE(data.Exists()) << answer;
    EXPECT_TRUE(HasRegistry()) << answer;
  }
}

TEST_F(RemoveCommandTest, AYesLetsGoWhatWasChosenAndNothingElse) {
  EXPECT_EQ(Run({"remove", "--data"}, "y\n").status, 0);
  EXPECT_FALSE(data.Exists());
  EXPECT_TRUE(HasRegistry());
  EXPECT_EQ(Run({"remove", "--registry"}, "yes\r\n").status, 0);
  EXPECT_FALSE(HasRegistry());
}

TEST_F(RemoveCommandTest, WithYesNobodyIsAskedAndWhatIsGoneIsWell) {
  const std::string program = MakeProgramFolder();
  EXPECT_THAT(MustRun({"remove", "--yes", "--data", "--registry", "--program", program}),
              AllOf(Not(HasSubstr("[y/N]")), HasSubstr("deleted: registry key Software")));
  EXPECT_FALSE(data.Exists());
  EXPECT_FALSE(HasRegistry());
  EXPECT_FALSE(std::filesystem::exists(ProgramFolder()));
  EXPECT_THAT(MustList({"remove", "--data", "--registry"}),
              ElementsAre(StartsWith("not there: "), StartsWith("not there: ")));
}

TEST_F(RemoveCommandTest, AnotherProgramDirectoryGoesOnlyWhenItIsNamed) {
  const std::string program = MakeProgramFolder();
  const std::vector<Words> refused = {
      {"remove", "--program", "--yes"},
      {"remove", "--yes", "--data", "--program"},
      {"remove", "--yes", "--data", "--program", RegistryTextOf(machine.Folder())},
      {"remove", "--yes", "--data", "--program", program.substr(0, program.size() - 1)}};
  for (const auto& arguments : refused) {
    EXPECT_THAT(MustFail(arguments),
                AllOf(StartsWith("larder: nothing was deleted: "), HasSubstr(program)));
    EXPECT_TRUE(std::filesystem::exists(ProgramFolder() / "inner" / "file"));
    EXPECT_TRUE(data.Exists());
  }
  MustRun({"remove", "--program", program, "--yes"});
  EXPECT_FALSE(std::filesystem::exists(ProgramFolder()));
}

// Without --yes and with nobody to ask, so that not even a broken tool would delete anything.
TEST_F(RemoveCommandTest, NoRootNoShortPathAndNoDetourIsDeleted) {
  const std::string here = RegistryTextOf(machine.Folder());
  for (const std::string& location :
       Words{"\\", "C:\\", "C:", "\\no-such-folder\\", "C:\\no-such-folder\\", "modules\\inner\\",
             ".\\", "\\\\server\\share\\", "\\\\server\\share\\folder\\", here + "..\\modules\\",
             here + "*", here + "modul?s\\", here + "modules\\\\\\\\"}) {
    MustRun({"registry", "set", "Install", "szLocation", location});
    EXPECT_EQ(MustFail({"remove", "--program", location}),
              "larder: nothing was deleted: \"" + location +
                  "\" isn't the full path of a folder at least two levels deep\n");
  }
}

TEST_F(RemoveCommandTest, ARealInstallationKeepsItsRegistry) {
  MustRun({"registry", "set", "Install", "szLocation",
           "c:\\program files\\common files\\velmor\\baserack\\"});
  const std::string before = MustRun({"registry", "list"});
  EXPECT_THAT(MustFail({"remove", "--data", "--registry", "--yes"}),
              HasSubstr("nothing was deleted: szLocation names the place of a real"));
  EXPECT_EQ(MustRun({"registry", "list"}), before);
  EXPECT_TRUE(data.Exists());
}

}  // namespace
}  // namespace larder
