#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// FIPS 180-4's examples: of "abc" and of nothing.
const std::string kAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  ";
const std::string kEmpty = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855  ";

class ScanCommandTest : public ToolTest {
 protected:
  void Plant(const std::string& utf8Name, const std::string& content) {
    MakeFile("tree/" + utf8Name, content);
  }
  // With "/" on every system.
  static std::string GenericText(const std::filesystem::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
  }

  const std::string tree = GenericText(machine.Folder()) + "/tree";
};

TEST_F(ScanCommandTest, FilesArePrintedInTheOrderOfTheirNamesFolderByFolder) {
  RegisterModules({"feed-file.dll"});
  const Words names = {"-x", "Z", "a/deep/er", "a/z", "a/\xC3\xA4 \xF0\x9F\x97\x9D", "a.c", "b"};
  Plant("c", "");
  std::filesystem::create_directories(PathOf(tree) / "empty");
  Words lines = {kEmpty + tree + "/c"};
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    Plant(*name, "abc");
    lines.insert(lines.begin(), kAbc + tree + "/" + *name);
  }
  EXPECT_EQ(MustList({"scan", tree}), lines);
  EXPECT_EQ(MustList({"scan", tree + "/", "--option", "2"}), lines);
}

TEST_F(ScanCommandTest, TheOutputIsTheSameWithOneThreadAndWithMany) {
  RegisterModules({"feed-file.dll"});
  for (std::size_t i = 0; i < 300; ++i) {
    Plant(std::to_string(i % 7) + "/" + std::to_string(i), std::string(i * 7919 % 50'000, 'x'));
  }
  for (const char* form : {"--option=0", "--json"}) {
    const std::string output = MustRun({"scan", "--threads", "1", form, tree});
    EXPECT_EQ(LinesOf(output).size(), 300u);
    EXPECT_EQ(MustRun({"scan", "--threads", "32", form, tree}), output);
    EXPECT_EQ(MustRun({"scan", form, tree}), output);
  }
}

TEST_F(ScanCommandTest, LinksAndFilesThatAreNamedAreTakenAndNoLinkBelowThem) {
  RegisterModules({"feed-file.dll"});
  const std::string linked = GenericText(BuiltFile("linked-tree"));
  const std::string file = kAbc + linked + "/folder/file\n";
  const std::string behindLink = kAbc + linked + "/folder/loop/folder/file\n";
  EXPECT_EQ(MustRun({"scan", linked}), file);
  EXPECT_THAT(MustList({"scan", "--summary", linked}), testing::Contains("links       1"));
  EXPECT_EQ(MustRun({"scan", linked + "/folder/file", linked + "/folder/loop/folder"}),
            file + behindLink);
  EXPECT_EQ(MustRun({"scan", linked + "/folder/loop"}), behindLink);
}

TEST_F(ScanCommandTest, ErrorsDontStopTheScanAndAreToldAtTheEndWithTheirCounts) {
  RegisterModules({"record-feed-1.dll"});
  for (const char* name : {"cut", "failing", "kept", "other/failing", "plain"}) Plant(name, "");
  const ToolRun run = Run({"scan", tree + "/missing", tree}, 1);
  const std::string zeros = std::string(64, '0') + "  ";
  EXPECT_EQ(run.output, zeros + tree + "/kept\n" + zeros + tree + "/plain\n");
  const std::string cut =
      "malformed record: certificate at offset 392 reaches past the end of the record";
  const std::string kept = "cannot free the record: Generic error (-4)";
  EXPECT_THAT(LinesOf(run.errors),
              ElementsAre(StartsWith("larder: " + tree + "/missing: "),
                          StartsWith("larder: 1 error: "),  //
                          "larder: " + tree + "/cut: " + cut, "larder: 1 error: " + cut,
                          "larder: " + tree + "/failing: Generic error (-4)",
                          "larder: " + tree + "/other/failing: Generic error (-4)",
                          "larder: 2 errors: Generic error (-4)",
                          "larder: " + tree + "/kept: " + kept, "larder: 1 error: " + kept));
}

TEST_F(ScanCommandTest, EachFileAndEachErrorHasALineOfJson) {
  RegisterModules({"record-feed-1.dll"});
  for (const char* name : {"certified", "failing", "plain"}) Plant(name, "");
  const ToolRun run = Run({"scan", "--json", "--option", "255", tree, tree + "/missing"}, 1);
  Words texts;
  for (const std::string& line : LinesOf(run.output)) {
    const auto parsed = nlohmann::json::parse(line);
    texts.push_back(parsed["path"].get<std::string>().substr(tree.size()) + " " +
                    parsed["fileId"].dump() + " " + parsed["result"].dump() + " " +
                    std::to_string(parsed["chains"].size()));
  }
  EXPECT_THAT(texts, ElementsAre("/certified \"00000000000000ff\" 0 3", "/failing null -4 0",
                                 "/plain \"00000000000000ff\" 0 0", "/missing null null 0"));
  EXPECT_THAT(run.output,
              StartsWith(MustRun({"query", "--json", "--option", "255", tree + "/certified"})));
}

TEST_F(ScanCommandTest, TheSummaryHasNothingButTheCounts) {
  RegisterModules({"record-feed-1.dll"});
  Plant("plain", "abc");
  Plant("certified", "defg");
  Plant("failing", "abc");
  const ToolRun run = Run({"scan", "--summary", tree}, 1);
  EXPECT_THAT(LinesOf(run.output),
              ElementsAre("files       2", "bytes       7", "errors      1", "signed      1",
                          "links       0", "special     0", StartsWith("seconds     "),
                          AllOf(StartsWith("rate        "), HasSubstr(" files/s, "))));
}

}  // namespace
}  // namespace larder
