// What only a Linux machine has.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>

#include "tools/run-program.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

using ToolLinuxTest = ToolTest;

TEST_F(ToolLinuxTest, AFullDiskIsAFailureWithAMessage) {
  RegisterModules({"feed-file.dll"});
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  const auto errors = machine.Folder() / "errors";
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--version"}, {"--help"}, {"registry", "list"}, {"query", file}}) {
    EXPECT_EQ(RunProgram(ToolPath(), arguments, "/dev/full", errors), 1)
        << testing::PrintToString(arguments);
    EXPECT_EQ(ContentOf(errors),
              "larder: cannot write to standard output: No space left on device\n");
  }
}

TEST_F(ToolLinuxTest, NothingThatCouldBlockIsRead) {
  RegisterModules({"feed-file.dll"});
  const std::string fifo = Utf8Of(machine.Folder() / "fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0666), 0);
  const ToolRun run = Run({"query", fifo, "/dev/zero"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "larder: " + fifo + ": Generic error (-4)\n" +
                            "larder: /dev/zero: Generic error (-4)\n");
}

TEST_F(ToolLinuxTest, AnArgumentThatIsNoUtf8IsNamed) {
  const std::string bytes = "caf\xE9";
  EXPECT_EQ(Run({"registry", "set", bytes, "name", "data"}).status, 2);
  EXPECT_EQ(Run({"registry", "set", "key", bytes, "data"}).status, 2);
  EXPECT_EQ(Run({"registry", "set", "key", "name", bytes}).status, 2);
  RegisterModules({"feed-file.dll"});
  const ToolRun run = Run({"query", bytes});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, AllOf(StartsWith("larder: " + bytes + ": "), HasSubstr("(1113)")));
}

TEST_F(ToolLinuxTest, ADamagedValueIsToldAndTheRestListed) {
  MustRun({"registry", "set", "Install", "damaged", "1"});
  MustRun({"registry", "set", "Install", "whole", "2"});
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::getenv("LARDER_ROOT"))) {
    const bool isIt = entry.path().filename().string().find("damaged") != std::string::npos;
    if (isIt) std::ofstream(entry.path(), std::ios::trunc) << "x";
  }
  const ToolRun run = Run({"registry", "list"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors,
              AllOf(StartsWith("larder: cannot read value \"damaged\" of key \"Install\": "),
                    HasSubstr("(1015)")));
  EXPECT_EQ(run.output, "Install\nInstall\twhole\tREG_SZ\t2\n");
}

}  // namespace
}  // namespace larder
