#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tools/run-program.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// FIPS 180-4's examples: of "abc" and of nothing.
const std::string kAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const std::string kEmpty = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

class ScanCommandTest : public ToolTest {
 protected:
  ScanCommandTest() { std::filesystem::create_directories(Tree()); }

  std::filesystem::path Tree() const { return machine.Folder() / "tree"; }
  // With "/" on every system.
  std::string TreeText() const { return GenericText(Tree()); }
  static std::string GenericText(const std::filesystem::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
  }

  void Plant(const std::string& utf8Name, const std::string& content) {
    const auto path = Tree() / PathOf(utf8Name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
};

TEST_F(ScanCommandTest, FilesArePrintedInTheOrderOfTheirNamesFolderByFolder) {
  RegisterModules({"feed-file.dll"});
  for (const char* name :
       {"b", "a.c", "a/z", "a/\xC3\xA4 \xF0\x9F\x97\x9D", "a/deep/er", "Z", "-x"})
    Plant(name, "abc");
  Plant("c", "");
  std::filesystem::create_directories(Tree() / "empty");
  const auto line = [&](const std::string& digest, const std::string& name) {
    return digest + "  " + TreeText() + "/" + name;
  };
  const std::vector<std::string> lines = {line(kAbc, "-x"),
                                          line(kAbc, "Z"),
                                          line(kAbc, "a/deep/er"),
                                          line(kAbc, "a/z"),
                                          line(kAbc, "a/\xC3\xA4 \xF0\x9F\x97\x9D"),
                                          line(kAbc, "a.c"),
                                          line(kAbc, "b"),
                                          line(kEmpty, "c")};
  EXPECT_EQ(LinesOf(MustRun({"scan", TreeText()})), lines);
  EXPECT_EQ(LinesOf(MustRun({"scan", TreeText() + "/", "--option", "2"})), lines);
}

TEST_F(ScanCommandTest, TheOutputIsTheSameWithOneThreadAndWithMany) {
  RegisterModules({"feed-file.dll"});
  for (std::size_t i = 0; i < 300; ++i) {
    Plant(std::to_string(i % 7) + "/" + std::to_string(i), std::string(i * 7919 % 50'000, 'x'));
  }
  for (const char* form : {"--option=0", "--json"}) {
    const std::string output = MustRun({"scan", "--threads", "1", form, TreeText()});
    EXPECT_EQ(LinesOf(output).size(), 300u);
    EXPECT_EQ(MustRun({"scan", "--threads", "32", form, TreeText()}), output);
    EXPECT_EQ(MustRun({"scan", form, TreeText()}), output);
  }
}

TEST_F(ScanCommandTest, NoLinkBelowARootIsFollowed) {
  RegisterModules({"feed-file.dll"});
  const std::string tree = GenericText(BuiltFile("linked-tree"));
  EXPECT_EQ(MustRun({"scan", tree}), kAbc + "  " + tree + "/folder/file\n");
  EXPECT_THAT(LinesOf(MustRun({"scan", "--summary", tree})), testing::Contains("links       1"));
}

TEST_F(ScanCommandTest, AFileAndALinkThatAreNamedAreTaken) {
  RegisterModules({"feed-file.dll"});
  const std::string tree = GenericText(BuiltFile("linked-tree"));
  EXPECT_EQ(
      MustRun({"scan", tree + "/folder/file", tree + "/folder/loop/folder"}),
      kAbc + "  " + tree + "/folder/file\n" + kAbc + "  " + tree + "/folder/loop/folder/file\n");
  EXPECT_EQ(MustRun({"scan", tree + "/folder/loop"}),
            kAbc + "  " + tree + "/folder/loop/folder/file\n");
}

TEST_F(ScanCommandTest, ErrorsDontStopTheScanAndAreToldAtTheEndWithTheirCounts) {
  RegisterModules({"record-feed-1.dll"});
  for (const char* name : {"cut", "failing", "other/failing", "plain"}) Plant(name, "");
  const std::string missing = TreeText() + "/missing";
  const ToolRun run = Run({"scan", missing, TreeText()});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, std::string(64, '0') + "  " + TreeText() + "/plain\n");
  EXPECT_THAT(run.errors, StartsWith("larder: " + missing + ": "));
  EXPECT_THAT(
      run.errors,
      EndsWith("larder: " + TreeText() +
               "/cut: malformed record: certificate at offset 392 reaches past the end of the "
               "record\nlarder: 1 error: malformed record: certificate at offset 392 reaches past "
               "the end of the record\nlarder: " +
               TreeText() + "/failing: Generic error (-4)\nlarder: " + TreeText() +
               "/other/failing: Generic error (-4)\nlarder: 2 errors: Generic error (-4)\n"));
}

TEST_F(ScanCommandTest, ARecordThatCannotBeGivenBackIsPrintedAndAnError) {
  RegisterModules({"record-feed-1.dll"});
  Plant("kept", "");
  const ToolRun run = Run({"scan", TreeText()});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, std::string(64, '0') + "  " + TreeText() + "/kept\n");
  EXPECT_THAT(run.errors, HasSubstr("1 error: giving the record back: Generic error (-4)\n"));
}

TEST_F(ScanCommandTest, EachFileAndEachErrorHasALineOfJson) {
  RegisterModules({"record-feed-1.dll"});
  for (const char* name : {"certified", "failing", "plain"}) Plant(name, "");
  const ToolRun run =
      Run({"scan", "--json", "--option", "255", TreeText(), TreeText() + "/missing"});
  EXPECT_EQ(run.status, 1);
  std::vector<std::string> texts;
  for (const std::string& line : LinesOf(run.output)) {
    const auto parsed = nlohmann::json::parse(line);
    texts.push_back(parsed["path"].get<std::string>().substr(TreeText().size()) + " " +
                    parsed["fileId"].dump() + " " + parsed["result"].dump() + " " +
                    std::to_string(parsed["chains"].size()));
  }
  EXPECT_THAT(texts, ElementsAre("/certified \"00000000000000ff\" 0 2", "/failing null -4 0",
                                 "/plain \"00000000000000ff\" 0 0", "/missing null null 0"));
  EXPECT_THAT(
      run.output,
      StartsWith(MustRun({"query", "--json", "--option", "255", TreeText() + "/certified"})));
}

TEST_F(ScanCommandTest, TheSummaryHasNothingButTheCounts) {
  RegisterModules({"record-feed-1.dll"});
  Plant("plain", "abc");
  Plant("signed", "defg");
  Plant("failing", "abc");
  const ToolRun run = Run({"scan", "--summary", TreeText()});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(LinesOf(run.output),
              ElementsAre("files       2", "bytes       7", "errors      1", "signed      1",
                          "links       0", "special     0", StartsWith("seconds     "),
                          AllOf(StartsWith("rate        "), HasSubstr(" files/s, "))));
}

TEST_F(ScanCommandTest, WithoutModulesTheMessageTellsWhereToLook) {
  const ToolRun run = Run({"scan", TreeText()});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, AllOf(HasSubstr("Failed to open the Larder DB (-3)"),
                                HasSubstr("larder registry list")));
}

TEST_F(ScanCommandTest, AClosedPipeEndsTheScanAsAFailure) {
  RegisterModules({"feed-file.dll"});
  for (int i = 0; i < 200; ++i) Plant(std::to_string(i), "abc");
  const auto errors = machine.Folder() / "errors";
  EXPECT_EQ(RunProgramIntoClosedPipe(ToolPath(), {"scan", TreeText()}, errors), 1);
  EXPECT_THAT(ContentOf(errors), StartsWith("larder: cannot write to standard output: "));
}

}  // namespace
}  // namespace larder
