#include <gmock/gmock.h>

#include <chrono>

#include "testing/system-text.h"
#include "tools/run-program.h"
#include "tools/tool-test.h"

namespace larder {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// The digests of "abc" as FIPS 180-4's examples and RFC 1321's test suite give them.
constexpr const char* kMd5OfAbc = "md5         900150983cd24fb0d6963f7d28e17f72";
constexpr const char* kSha1OfAbc = "sha1        a9993e364706816aba3e25717850c26c9cd0d89d";
constexpr const char* kSha256OfAbc =
    "sha256      ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr const char* kSha384OfAbc =
    "sha384      cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
    "8086072ba1e7cc2358baeca134c825a7";
constexpr const char* kSha512OfAbc =
    "sha512      ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
    "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f";

class QueryCommandTest : public ToolTest {
 protected:
  // Runs a query in the machine's folder, for relative names.
  std::string MustRunInFolder(const std::vector<std::string>& arguments) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(machine.Folder());
    std::string output = MustRun(arguments);
    std::filesystem::current_path(before);
    return output;
  }

  std::string InFolder(const std::string& name) { return Utf8Of(machine.Folder()) + "/" + name; }
};

TEST_F(QueryCommandTest, AFileIsPrintedWithItsDigests) {
  RegisterModules({"feed-file.dll"});
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  EXPECT_THAT(LinesOf(MustRun({"query", file})),
              ElementsAre("file        " + file, "type        1", "size        400",
                          StartsWith("file-id     "), kMd5OfAbc, kSha1OfAbc, kSha256OfAbc,
                          kSha384OfAbc, kSha512OfAbc, "chain       none"));
}

TEST_F(QueryCommandTest, AFileIsFoundByARelativeName) {
  RegisterModules({"feed-file.dll"});
  MakeFile("abc", "abc");
  EXPECT_THAT(LinesOf(MustRunInFolder({"query", "./abc"})),
              AllOf(Contains("file        ./abc"), Contains(kMd5OfAbc)));
}

TEST_F(QueryCommandTest, NamesOfAllKindsAreFound) {
  RegisterModules({"feed-file.dll"});
  for (const char* name : {"\xC3\xA4 \xE9\x8D\xB5 \xF0\x9F\x97\x9D", "[a,b]", "[a]", "++", "-x"}) {
    MakeFile(name, "abc");
    EXPECT_THAT(LinesOf(MustRunInFolder({"query", "--", name})),
                AllOf(Contains(std::string("file        ") + name), Contains(kSha1OfAbc)));
  }
}

TEST_F(QueryCommandTest, TheOtherFilesArePrintedWhenOneFails) {
  RegisterModules({"feed-file.dll"});
  const std::string first = Utf8Of(MakeFile("first", "abc"));
  const std::string last = Utf8Of(MakeFile("last", ""));
  const std::string missing = InFolder("missing");
  const ToolRun run = Run({"query", missing, first, missing, last});
  EXPECT_EQ(run.status, 1);
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
    const ToolRun run = Run({"query", file});
    EXPECT_EQ(run.status, 1) << file;
    EXPECT_EQ(run.output, "") << file;
    EXPECT_THAT(run.errors, AllOf(StartsWith("larder: " + file + ": "), testing::EndsWith(")\n")));
  }
}

TEST_F(QueryCommandTest, TheProvidersOwnCodeIsPrinted) {
  RegisterModules({"feed-test.dll"});
  const std::vector<std::pair<std::string, std::string>> answers = {
      {"fail:query=code:-15", "File ID mismatch (-15)"},
      {"fail:getkey=code:-12", "An install of Larder is in progress (-12)"},
      {"fail:query=code:7", "code 7"},
      {"fail:query=code:-2147483648", "code -2147483648"},
      {"fail:query=unknown", "Generic error (-4)"},
      {"fail:query=empty", "No data available (-13)"},
  };
  for (const auto& [script, answer] : answers) {
    const ToolRun run = Run({"query", "--type", "2", InFolder(script)});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "larder: " + InFolder(script) + ": " + answer + "\n");
  }
}

TEST_F(QueryCommandTest, ATypeThatNobodyServesIsAnError) {
  RegisterModules({"feed-test.dll"});
  for (const char* type : {"0", "5", "6", "-1", "2147483647", "-2147483648"}) {
    const ToolRun run = Run({"query", "--type", type, "file"});
    EXPECT_EQ(run.status, 1) << type;
    EXPECT_EQ(run.errors, "larder: file: Generic error (-4)\n") << type;
  }
}

TEST_F(QueryCommandTest, WithoutModulesTheMessageTellsWhereToLook) {
  const ToolRun run = Run({"query", "file"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, AllOf(HasSubstr("Failed to open the Larder DB (-3)"),
                                HasSubstr("larder registry list")));
}

TEST_F(QueryCommandTest, ImageDigestsAndChainsArePrintedWhereThereAreAny) {
  RegisterModules({"record-feed-1.dll"});
  const std::string output = MustRun({"query", InFolder("signed"), "--option", "0xFFFFFFFF"});
  EXPECT_THAT(LinesOf(output),
              AllOf(Contains("size        436"), Contains("file-id     4294967295"),
                    Contains("pe-md5      " + std::string(32, '7')),
                    Contains("pe-sha1     " + std::string(40, '0')),
                    Contains("pe-sha512   " + std::string(128, '0')),
                    Contains("chain       2 certificates"),
                    Contains("  subject   (no readable name, 5 bytes)"),
                    Contains("  subject   (no readable name, 3 bytes)"),
                    Contains("chain       1 certificate"),
                    Contains("  issuer    (no readable name, 1 byte)")));
  EXPECT_THAT(MustRun({"query", InFolder("certified")}),
              HasSubstr("\nchain       2 certificates\n"
                        "  subject   C=US, O=Example, CN=Example Signer\n"
                        "  subject   C=US, O=Example, CN=Example CA\n"
                        "  issuer    C=US, O=Example, CN=Example CA\n"
                        "chain       2 certificates\n"));
}

TEST_F(QueryCommandTest, AMalformedRecordIsToldAndNotPrinted) {
  RegisterModules({"record-feed-1.dll"});
  const std::vector<std::pair<std::string, std::string>> faults = {
      {"cut", "malformed record: certificate at offset 392 reaches past the end of the record"},
      {"tiny", "malformed record: 7 bytes are too few for a header"},
      {"small", "malformed record: 8 bytes are too few for a file record"},
  };
  for (const auto& [name, fault] : faults) {
    const ToolRun run = Run({"query", InFolder(name), InFolder("plain")});
    EXPECT_EQ(run.status, 1) << name;
    EXPECT_EQ(run.errors, "larder: " + InFolder(name) + ": " + fault + "\n");
    EXPECT_THAT(run.output, StartsWith("file        " + InFolder("plain") + "\n"));
  }
}

TEST_F(QueryCommandTest, ABlockThatCannotBeGivenBackIsPrintedAndAFailure) {
  RegisterModules({"record-feed-1.dll"});
  const std::string file = InFolder("kept");
  const ToolRun run = Run({"query", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "larder: " + file + ": giving the record back: Generic error (-4)\n");
  EXPECT_THAT(run.output, HasSubstr("size        400\n"));
}

TEST_F(QueryCommandTest, ABlockOfAnotherTypeIsDumped) {
  RegisterModules({"record-feed-3.dll"});
  const std::string file = InFolder("dump");
  EXPECT_THAT(
      LinesOf(MustRun({"query", "--type", "3", file})),
      ElementsAre("file        " + file, "type        3", "size        100",
                  "data        6400000003000000" + std::string(16, 'a'),
                  "            " + std::string(32, 'a'), "            " + std::string(32, 'a'),
                  "            " + std::string(32, 'a')));
  EXPECT_THAT(LinesOf(MustRun({"query", "--type", "3", InFolder("small")})),
              Contains("data        0800000003000000"));
}

// What follows the path in a line that tells of a failure.
std::string Failure(const std::string& result, const std::string& error) {
  return "\",\"lastModified\":0,\"fileId\":null,\"file\":null,\"pe\":null,\"chains\":[],"
         "\"result\":" +
         result + ",\"error\":\"" + error + "\"}";
}

// A name as JSON has it: what isn't UTF-8 is replaced.
std::string NameInJson(const std::string& utf8) {
  const std::string text = SystemText(utf8);
  if (text == utf8) return text;
  std::string replaced;
  for (const char c : text) replaced += (c & 0x80) != 0 ? "\xEF\xBF\xBD" : std::string(1, c);
  return replaced;
}

TEST_F(QueryCommandTest, AFileIsPrintedAsALineOfJson) {
  RegisterModules({"feed-file.dll"});
  using std::chrono::sys_days;
  using std::chrono::sys_seconds;
  const sys_days day = std::chrono::year(2024) / 2 / 29;
  std::filesystem::last_write_time(MakeFile("abc", "abc"),
                                   std::chrono::file_clock::from_sys(sys_seconds(day)));
  const auto digest = [](const std::string& line) { return line.substr(12); };
  std::string line = MustRunInFolder({"query", "--json", "abc"});
  const std::string id = R"("fileId":")";
  line.replace(line.find(id) + id.size(), 16, "ID");  // the file system's number
  EXPECT_EQ(line, R"({"path":"abc","lastModified":133536384000000000,"fileId":"ID","file":)"
                  R"({"md5":")" +
                      digest(kMd5OfAbc) + R"(","sha1":")" + digest(kSha1OfAbc) + R"(","sha256":")" +
                      digest(kSha256OfAbc) + R"(","sha384":")" + digest(kSha384OfAbc) +
                      R"(","sha512":")" + digest(kSha512OfAbc) +
                      R"("},"pe":null,"chains":[],"result":0,"error":null})"
                      "\n");
}

TEST_F(QueryCommandTest, JsonHasImageDigestsAndCertificatesWhereThereAreAny) {
  RegisterModules({"record-feed-1.dll"});
  EXPECT_THAT(MustRun({"query", "--json", InFolder("signed")}),
              HasSubstr(R"("pe":{"md5":")" + std::string(32, '7') + R"(","sha1":"0000)"));
  const std::string output = MustRun({"query", "--json", "--option", "255", InFolder("certified")});
  EXPECT_THAT(output, HasSubstr(R"("fileId":"00000000000000ff")"));
  const std::string ca = R"("issuer":"C=US, O=Example, CN=Example CA","serial":")";
  EXPECT_THAT(output,
              testing::ContainsRegex(
                  R"("chains":..."subject":"C=US, O=Example, CN=Example Signer",)" + ca +
                  R"(a0 22 1f 0b","size":....,."subject":"C=US, O=Example, CN=Example CA",)" + ca +
                  R"(01","size":......)"));
  EXPECT_THAT(
      output,
      HasSubstr("},{\"subject\":\"\",\"issuer\":\"\",\"serial\":\"\",\"size\":14}]],\"result\""));
  EXPECT_THAT(
      output,
      HasSubstr("\"" + NameInJson("CN=\xC5\xBDlu\xC5\xA5 \xE2\x82\xAC, O=\xC3\xA4") + "\""));
}

TEST_F(QueryCommandTest, AFailureHasALineOfJsonToo) {
  RegisterModules({"feed-file.dll"});
  MakeFile("abc", "abc");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(machine.Folder());
  const ToolRun run = Run({"query", "--json", "./missing \xC3\xA4", "abc"});
  std::filesystem::current_path(before);
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, testing::EndsWith("No data available (-13)\n"));
  EXPECT_THAT(LinesOf(run.output), ElementsAre("{\"path\":\"./missing \xC3\xA4" +
                                                   Failure("-13", "No data available (-13)"),
                                               StartsWith("{\"path\":\"abc\",")));
}

TEST_F(QueryCommandTest, JsonTellsOfMalformedRecordsAndOnesThatCannotGoBack) {
  RegisterModules({"record-feed-1.dll"});
  const ToolRun cut = Run({"query", "--json", InFolder("cut")});
  EXPECT_EQ(cut.status, 1);
  EXPECT_THAT(
      cut.output,
      testing::EndsWith(
          Failure(
              "0",
              "malformed record: certificate at offset 392 reaches past the end of the record") +
          "\n"));
  const ToolRun kept = Run({"query", "--json", InFolder("kept")});
  EXPECT_EQ(kept.status, 1);
  EXPECT_THAT(
      kept.output,
      testing::AllOf(
          HasSubstr("\"fileId\":\"0000000000000000\""),
          HasSubstr("\"result\":-4,\"error\":\"giving the record back: Generic error (-4)\"}\n")));
}

TEST_F(QueryCommandTest, RecordsAreDumpedWithTheirCertificates) {
  RegisterModules({"record-feed-1.dll"});
  const std::vector<std::string> lines =
      LinesOf(MustRun({"query", "--dump", InFolder("certified"), InFolder("plain")}));
  ASSERT_EQ(lines.size(), 73u);
  EXPECT_EQ(lines[0], "{");
  EXPECT_THAT(lines[1], StartsWith("  dataSize:         "));
  EXPECT_EQ(lines[13], " CertChain: [");
  EXPECT_EQ(lines[16], "  Subject:   \"C=US, O=Example, CN=Example Signer\"");
  EXPECT_EQ(lines[18], "  Serial:    \"a0 22 1f 0b\"");
  EXPECT_THAT(lines, Contains("  Subject:   \"" +
                              SystemText("CN=\xC5\xBDlu\xC5\xA5 \xE2\x82\xAC, O=\xC3\xA4") + "\""));
  EXPECT_EQ(lines[48], "}");
  EXPECT_EQ(lines[49], "");
  EXPECT_EQ(lines[50], "{");
  EXPECT_EQ(lines.back(), "}");
}

TEST_F(QueryCommandTest, AMalformedRecordIsNotDumped) {
  RegisterModules({"record-feed-1.dll"});
  const ToolRun run = Run({"query", "--dump", InFolder("cut"), InFolder("plain")});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("malformed record: certificate at offset 392 "));
  EXPECT_THAT(run.output, StartsWith("{\n  dataSize:         400,\n"));
}

TEST_F(QueryCommandTest, OnlyFileRecordsHaveADumpAndJson) {
  RegisterModules({"record-feed-1.dll", "record-feed-3.dll"});
  for (const char* form : {"--dump", "--json"}) {
    const ToolRun run = Run({"query", form, "--type", "3", InFolder("dump")});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.errors, HasSubstr("for the file provider's records (--type 1) only"));
    const ToolRun foreign = Run({"query", form, InFolder("foreign")});
    EXPECT_EQ(foreign.status, 1);
    EXPECT_THAT(foreign.errors, HasSubstr("malformed record: its type is 2\n"));
  }
  EXPECT_EQ(Run({"query", "--dump", "--json", InFolder("plain")}).status, 2);
}

TEST_F(QueryCommandTest, AClosedPipeEndsTheRunAsAFailure) {
  RegisterModules({"feed-file.dll"});
  const std::string file = Utf8Of(MakeFile("abc", "abc"));
  const auto errors = machine.Folder() / "errors";
  EXPECT_EQ(RunProgramIntoClosedPipe(ToolPath(), {"query", file, file}, errors), 1);
  EXPECT_THAT(ContentOf(errors), StartsWith("larder: cannot write to standard output: "));
}

}  // namespace
}  // namespace larder
