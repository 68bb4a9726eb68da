#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>

#include "testing/system-text.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::StartsWith;
using Json = nlohmann::json;

// The digests of "abc" as FIPS 180-4's examples and RFC 1321's test suite give them.
const std::string kMd5OfAbc = "900150983cd24fb0d6963f7d28e17f72";
const std::string kSha1OfAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";
const std::string kSha256OfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const std::string kSha384OfAbc =
    "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
    "8086072ba1e7cc2358baeca134c825a7";
const std::string kSha512OfAbc =
    "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
    "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f";

// A certificate's subject, and how this system's calls give it.
const std::string kForeignUtf8 = "CN=\xC5\xBDlu\xC5\xA5 \xE2\x82\xAC, O=\xC3\xA4";
const std::string kForeignName = SystemText(kForeignUtf8);

class QueryCommandTest : public ToolTest {
 protected:
  // Runs a query in the machine's folder, for relative names.
  ToolRun QueryInFolder(Words arguments) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(machine.Folder());
    arguments.insert(arguments.begin(), "query");
    ToolRun run = Run(arguments);
    std::filesystem::current_path(before);
    return run;
  }
};

TEST_F(QueryCommandTest, AFileIsPrintedWithItsDigests) {
  RegisterModules({"feed-file.dll"});
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  EXPECT_THAT(MustList({"query", file}),
              ElementsAre("file        " + file, "type        1", "size        400",
                          StartsWith("file-id     "), "md5         " + kMd5OfAbc,
                          "sha1        " + kSha1OfAbc, "sha256      " + kSha256OfAbc,
                          "sha384      " + kSha384OfAbc, "sha512      " + kSha512OfAbc,
                          "chain       none"));
}

TEST_F(QueryCommandTest, NamesOfAllKindsAreFound) {
  RegisterModules({"feed-file.dll"});
  for (const std::string name :
       {"./abc", "\xC3\xA4 \xE9\x8D\xB5 \xF0\x9F\x97\x9D", "[a,b]", "[a]", "++", "-x"}) {
    MakeFile(name, "abc");
    const ToolRun run = QueryInFolder({"--", name});
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_THAT(LinesOf(run.output),
                AllOf(Contains("file        " + name), Contains("sha1        " + kSha1OfAbc)));
  }
}

TEST_F(QueryCommandTest, TheOtherFilesArePrintedWhenOneFails) {
  RegisterModules({"feed-file.dll"});
  const std::string first = Utf8Of(MakeFile("first", "abc"));
  const std::string last = Utf8Of(MakeFile("last", ""));
  const std::string missing = InFolder("missing");
  const ToolRun run = Run({"query", missing, first, missing, last}, 1);
  const std::string line = "larder: " + missing + ": No data available (-13)\n";
  EXPECT_EQ(run.errors, line + line);
  EXPECT_THAT(run.output, StartsWith("file        " + first + "\n"));
  EXPECT_THAT(run.output, HasSubstr("none\n\nfile        " + last + "\n"));
  EXPECT_THAT(run.output, HasSubstr("md5         d41d8cd98f00b204e9800998ecf8427e\n"));
}

TEST_F(QueryCommandTest, WhatIsNoReadableFileGivesAnErrorLine) {
  RegisterModules({"feed-file.dll"});
  for (const std::string& file :
       {Utf8Of(machine.Folder()), InFolder(std::string(5000, 'x')), std::string("nul\\nowhere")}) {
    EXPECT_THAT(MustFail({"query", file}),
                AllOf(StartsWith("larder: " + file + ": "), EndsWith(")\n")));
  }
}

TEST_F(QueryCommandTest, TheProvidersOwnCodeIsPrinted) {
  RegisterModules({"feed-test.dll"});
  const std::vector<std::pair<std::string, std::string>> answers = {
      {"fail:query=code:-15", "File ID mismatch (-15)"},
      {"fail:getkey=code:-12", "An install of Larder is in progress (-12)"},
      {"fail:query=code:7", "code 7"},
      {"fail:query=code:-2147483648", "code -2147483648"},
      {"fail:query=empty", "No data available (-13)"},
  };
  for (const auto& [script, answer] : answers) {
    EXPECT_EQ(MustFail({"query", "--type", "2", InFolder(script)}),
              "larder: " + InFolder(script) + ": " + answer + "\n");
  }
  for (const char* type : {"0", "6", "-1", "2147483647", "-2147483648"}) {  // nobody's
    EXPECT_EQ(MustFail({"query", "--type", type, "file"}), "larder: file: Generic error (-4)\n");
  }
}

TEST_F(QueryCommandTest, WithoutModulesEachClientTellsWhereToLook) {
  for (const Words& arguments :
       std::vector<Words>{{"query", "file"}, {"scan", InFolder("")}, {"notify", "--wait"}}) {
    EXPECT_THAT(MustFail(arguments), AllOf(StartsWith("larder: cannot start the library: Failed to "
                                                      "open the Larder DB (-3)\n"),
                                           HasSubstr("larder registry list")));
  }
}

TEST_F(QueryCommandTest, ImageDigestsAndChainsArePrintedWhereThereAreAny) {
  RegisterModules({"record-feed-1.dll"});
  const Words lines = MustList({"query", InFolder("certified"), "--option", "0xFFFFFFFF"});
  EXPECT_THAT(lines,
              IsSupersetOf(Words{"file-id     4294967295", "pe-md5      " + std::string(32, '7'),
                                 "pe-sha1     " + std::string(40, '0'),
                                 "pe-sha512   " + std::string(128, '0')}));
  const Words chains(std::find(lines.begin(), lines.end(), "chain       2 certificates"),
                     lines.end());
  EXPECT_THAT(
      chains,
      ElementsAre("chain       2 certificates", "  subject   C=US, O=Example, CN=Example Signer",
                  "  subject   C=US, O=Example, CN=Example CA",
                  "  issuer    C=US, O=Example, CN=Example CA", "chain       1 certificate",
                  "  subject   " + kForeignName, StartsWith("  issuer    "),
                  "chain       2 certificates", StartsWith("  subject   "),
                  "  subject   (no readable name, 14 bytes)",
                  "  issuer    (no readable name, 14 bytes)", "chain       none"));
}

TEST_F(QueryCommandTest, ARecordThatIsMalformedOrCannotBeGivenBackIsToldInEachForm) {
  RegisterModules({"record-feed-1.dll"});
  const std::vector<std::pair<std::string, std::string>> faults = {
      {"cut", "malformed record: certificate at offset 392 reaches past the end of the record"},
      {"tiny", "malformed record: 7 bytes are too few for a header"},
      {"small", "malformed record: 8 bytes are too few for a file record"},
      {"kept", "cannot free the record: Generic error (-4)"},
  };
  for (const auto& [name, fault] : faults) {
    const bool isWhole = name == "kept";
    const std::string error = "larder: " + InFolder(name) + ": " + fault + "\n";
    ToolRun run = Run({"query", InFolder(name), InFolder("plain")}, 1);
    EXPECT_EQ(run.errors, error);
    EXPECT_THAT(run.output, StartsWith("file        " + InFolder(isWhole ? name : "plain") +
                                       "\ntype        1\n"));
    run = Run({"query", "--json", InFolder(name)}, 1);
    EXPECT_EQ(run.errors, error);
    const Json line = Json::parse(run.output);
    EXPECT_EQ(line["error"], fault);
    EXPECT_EQ(line["result"], isWhole ? -4 : 0);
    EXPECT_EQ(line["file"].is_object(), isWhole) << name;
    run = Run({"query", "--dump", InFolder(name)});
    EXPECT_EQ(run.errors, error);
    EXPECT_EQ(run.output.empty(), !isWhole) << name;
  }
  EXPECT_THAT(MustFail({"query", "--dump", InFolder("foreign")}), HasSubstr("its type is 2\n"));
}

TEST_F(QueryCommandTest, ABlockOfAnotherTypeIsDumped) {
  RegisterModules({"record-feed-3.dll"});
  const std::string file = InFolder("dump");
  const std::string rest = "            " + std::string(32, 'a');
  EXPECT_THAT(MustList({"query", "--type", "3", file}),
              ElementsAre("file        " + file, "type        3", "size        100",
                          "data        6400000003000000" + std::string(16, 'a'), rest, rest, rest));
  EXPECT_THAT(MustList({"query", "--type", "3", InFolder("small")}),
              Contains("data        0800000003000000"));
}

TEST_F(QueryCommandTest, AFileIsPrintedAsALineOfJsonAndAFailureToo) {
  RegisterModules({"feed-file.dll"});
  const std::chrono::sys_days day = std::chrono::year(2024) / 2 / 29;
  std::filesystem::last_write_time(
      MakeFile("abc", "abc"), std::chrono::file_clock::from_sys(std::chrono::sys_seconds(day)));
  const ToolRun run = QueryInFolder({"--json", "abc", "./missing \xC3\xA4"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, EndsWith("No data available (-13)\n"));
  EXPECT_THAT(
      LinesOf(run.output),
      ElementsAre(
          AllOf(StartsWith(R"({"path":"abc","lastModified":133536384000000000,"fileId":")"),
                EndsWith(R"(","file":{"md5":")" + kMd5OfAbc + R"(","sha1":")" + kSha1OfAbc +
                         R"(","sha256":")" + kSha256OfAbc + R"(","sha384":")" + kSha384OfAbc +
                         R"(","sha512":")" + kSha512OfAbc +
                         R"("},"pe":null,"chains":[],"result":0,"error":null})")),
          "{\"path\":\"./missing \xC3\xA4\",\"lastModified\":0,\"fileId\":null,\"file\":null,"
          "\"pe\":null,\"chains\":[],\"result\":-13,\"error\":\"No data available (-13)\"}"));
}

// The name as JSON has it: what isn't UTF-8 is replaced.
std::string ForeignNameInJson() {
  if (kForeignName == kForeignUtf8) return kForeignName;
  std::string text;
  for (const char c : kForeignName) text += (c & 0x80) != 0 ? "\xEF\xBF\xBD" : std::string(1, c);
  return text;
}

TEST_F(QueryCommandTest, JsonHasImageDigestsAndCertificatesWhereThereAreAny) {
  RegisterModules({"record-feed-1.dll"});
  const Json line =
      Json::parse(MustRun({"query", "--json", "--option", "255", InFolder("certified")}));
  EXPECT_EQ(line["fileId"], "00000000000000ff");
  EXPECT_EQ(line["pe"]["md5"], std::string(32, '7'));
  EXPECT_EQ(line["pe"]["sha1"], std::string(40, '0'));
  const Json& chains = line["chains"];
  ASSERT_EQ(chains.size(), 3u);
  Json ca = chains[0][1];
  EXPECT_GT(ca["size"], 100);
  ca.erase("size");
  EXPECT_EQ(ca, Json({{"subject", "C=US, O=Example, CN=Example CA"},
                      {"issuer", "C=US, O=Example, CN=Example CA"},
                      {"serial", "01"}}));
  EXPECT_EQ(chains[0][0]["serial"], "a0 22 1f 0b");
  EXPECT_EQ(chains[1][0]["subject"], ForeignNameInJson());
  EXPECT_EQ(chains[2][1], Json({{"subject", ""}, {"issuer", ""}, {"serial", ""}, {"size", 14}}));
}

TEST_F(QueryCommandTest, RecordsAreDumpedWithTheirCertificates) {
  RegisterModules({"record-feed-1.dll"});
  const Words lines = MustList({"query", "--dump", InFolder("certified"), InFolder("plain")});
  EXPECT_THAT(lines, IsSupersetOf(Words{"  Subject:   \"C=US, O=Example, CN=Example Signer\"",
                                        "  Serial:    \"a0 22 1f 0b\"",
                                        "  Subject:   \"" + kForeignName + "\""}));
  EXPECT_EQ(lines[0], "{");
  const auto second = std::find(lines.begin(), lines.end(), "");
  EXPECT_THAT(Words(second - 1, second + 3),
              ElementsAre("}", "", "{", StartsWith("  dataSize:         400,")));
  EXPECT_EQ(lines.back(), "}");
}

}  // namespace
}  // namespace larder
