#include <gmock/gmock.h>

#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

using SetupCommandTest = ToolTest;

TEST_F(SetupCommandTest, TheProvidersBesideTheToolReplaceAllOthersAndTheLogIsAsAskedFor) {
  MustRun({"registry", "set", "DataProviders\\Former", "szDLL", "former.dll"});
  CopyTool("bin");
  EXPECT_THAT(MustRun({"setup", "--log"}), EndsWith("\nLogging\tszEnable\tREG_SZ\ttrue\n"));
  EXPECT_EQ(MustRun({"registry", "get", "Logging", "szEnable"}), "true\n");
  EXPECT_EQ(MustRun({"setup"}), "Install\tszLocation\tREG_SZ\t" +
                                    RegistryTextOf(tool.parent_path()) +
                                    "\n"
                                    "DataProviders\\FeedTest\tszDLL\tREG_SZ\tfeed-test.dll\n"
                                    "DataProviders\\FeedFile\tszDLL\tREG_SZ\tfeed-file.dll\n"
                                    "DataProviders\\FeedFile\tszFileQuery\tREG_SZ\t"
                                    "stock-file-query.dll\n"
                                    "DataProviders\\FeedStats\tszDLL\tREG_SZ\tfeed-stats.dll\n");
  EXPECT_THAT(MustRun({"registry", "list"}),
              Not(AnyOf(HasSubstr("Former"), HasSubstr("szEnable"))));
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  EXPECT_THAT(MustRun({"query", file}), HasSubstr("900150983cd24fb0d6963f7d28e17f72"));
  EXPECT_THAT(MustRun({"query", "--type", "3", file}), HasSubstr("type        3\n"));
}

TEST_F(SetupCommandTest, ARealInstallationIsLeftAsItIs) {
  const std::string location = "C:\\Program Files\\Common Files\\Velmor\\Baserack\\";
  MustRun({"registry", "set", "Install", "szLocation", location});
  const std::string before = MustRun({"registry", "list"});
  EXPECT_EQ(MustFail({"setup", "--log"}),
            "larder: nothing was written: szLocation names the place of a real installation, " +
                location + "\n");
  EXPECT_EQ(MustRun({"registry", "list"}), before);
}

TEST_F(SetupCommandTest, AFolderThatTheLibraryCannotReadBackIsAFailure) {
  CopyTool(std::string(99, 'x'));
  const ToolRun run = Run({"setup"}, 1);
  EXPECT_THAT(run.errors,
              AllOf(StartsWith("larder: value \"szLocation\" of key \"Install\" is of no use: "),
                    HasSubstr("98 at most: " + RegistryTextOf(tool.parent_path()))));
  EXPECT_THAT(run.output, StartsWith("DataProviders\\FeedTest\tszDLL\tREG_SZ\tfeed-test.dll\n"));
}

}  // namespace
}  // namespace larder
