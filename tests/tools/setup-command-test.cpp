#include <gmock/gmock.h>

#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

using SetupCommandTest = ToolTest;

TEST_F(SetupCommandTest, TheProvidersBesideTheToolReplaceAllOthers) {
  MustRun({"registry", "set", "DataProviders\\Former", "szDLL", "former.dll"});
  const auto tool = CopyTool("bin");
  const ToolRun run = RunCopy(tool, {"setup"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.output, "Install\tszLocation\tREG_SZ\t" + RegistryTextOf(tool.parent_path()) +
                            "\n"
                            "DataProviders\\FeedTest\tszDLL\tREG_SZ\tfeed-test.dll\n"
                            "DataProviders\\FeedFile\tszDLL\tREG_SZ\tfeed-file.dll\n"
                            "DataProviders\\FeedFile\tszFileQuery\tREG_SZ\tstock-file-query.dll\n"
                            "DataProviders\\FeedStats\tszDLL\tREG_SZ\tfeed-stats.dll\n");
  EXPECT_THAT(MustRun({"registry", "list"}), testing::Not(HasSubstr("Former")));
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  EXPECT_THAT(MustRun({"query", file}), HasSubstr("900150983cd24fb0d6963f7d28e17f72"));
  EXPECT_THAT(MustRun({"query", "--type", "3", file}), HasSubstr("type        3\n"));
}

TEST_F(SetupCommandTest, TheLogIsOnWhenThatIsAskedForAndOffOtherwise) {
  const auto tool = CopyTool("bin");
  const ToolRun run = RunCopy(tool, {"setup", "--log"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, testing::EndsWith("\nLogging\tszEnable\tREG_SZ\ttrue\n"));
  EXPECT_EQ(MustRun({"registry", "get", "Logging", "szEnable"}), "true\n");
  EXPECT_EQ(RunCopy(tool, {"setup"}).status, 0);
  EXPECT_EQ(Run({"registry", "get", "Logging", "szEnable"}).status, 1);
}

TEST_F(SetupCommandTest, ARealInstallationIsLeftAsItIs) {
  const std::string location = "C:\\Program Files\\Common Files\\Velmor\\Baserack\\";
  MustRun({"registry", "set", "Install", "szLocation", location});
  const std::string before = MustRun({"registry", "list"});
  const ToolRun run = Run({"setup", "--log"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors,
            "larder: nothing was written: szLocation names the place of a real installation, " +
                location + "\n");
  EXPECT_EQ(MustRun({"registry", "list"}), before);
}

TEST_F(SetupCommandTest, AFolderThatTheLibraryCannotReadBackIsAFailure) {
  const auto tool = CopyTool(std::string(99, 'x'));
  const ToolRun run = RunCopy(tool, {"setup"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors,
              AllOf(StartsWith("larder: value \"szLocation\" of key \"Install\" is of no use: "),
                    HasSubstr("98 at most: " + RegistryTextOf(tool.parent_path()))));
  EXPECT_THAT(run.output, StartsWith("DataProviders\\FeedTest\tszDLL\tREG_SZ\tfeed-test.dll\n"));
}

}  // namespace
}  // namespace larder
