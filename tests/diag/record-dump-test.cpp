#include "diag/record-dump.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "testing/certificate-file.h"
#include "testing/file-record-bytes.h"

namespace larder {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Lines = std::vector<std::string>;

// All lines but the last have an end.
std::string Joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "\r\n") + line;
  return text;
}

// A digest of equal bytes.
std::string Digest(const std::string& byte, int size) {
  std::string text = byte;
  for (int i = 1; i < size; ++i) text += " " + byte;
  return text;
}

FileDataRecord Facts() {
  FileDataRecord facts{};
  facts.providerType = 1;
  facts.fileId = 123456789;
  std::memset(facts.fileMD5, 0x0A, sizeof facts.fileMD5);
  std::memset(facts.fileSHA1, 0xB1, sizeof facts.fileSHA1);
  std::memset(facts.fileSHA256, 0xC2, sizeof facts.fileSHA256);
  std::memset(facts.fileSHA384, 0xD3, sizeof facts.fileSHA384);
  std::memset(facts.fileSHA512, 0xE4, sizeof facts.fileSHA512);
  std::memset(facts.peMD5, 0xF5, sizeof facts.peMD5);
  std::memset(facts.peSHA1, 0x60, sizeof facts.peSHA1);
  std::memset(facts.peSHA256, 0x71, sizeof facts.peSHA256);
  std::memset(facts.peSHA384, 0x82, sizeof facts.peSHA384);
  std::memset(facts.peSHA512, 0x93, sizeof facts.peSHA512);
  std::memset(facts.reserved, 0xFF, sizeof facts.reserved);
  return facts;
}

Lines FactLines(const std::string& indent, const std::string& dataSize) {
  Lines lines = {"{",
                 "  dataSize:         " + dataSize + ",",
                 "  fileId:           \"00000000075bcd15\",",
                 "  fileMD5:          \"" + Digest("0a", 16) + "\",",
                 "  fileSHA1:         \"" + Digest("b1", 20) + "\",",
                 "  fileSHA256:       \"" + Digest("c2", 32) + "\",",
                 "  fileSHA384:       \"" + Digest("d3", 48) + "\",",
                 "  fileSHA512:       \"" + Digest("e4", 64) + "\",",
                 "  peMD5:            \"" + Digest("f5", 16) + "\",",
                 "  peSHA1:           \"" + Digest("60", 20) + "\",",
                 "  peSHA256:         \"" + Digest("71", 32) + "\",",
                 "  peSHA384:         \"" + Digest("82", 48) + "\",",
                 "  peSHA512:         \"" + Digest("93", 64) + "\","};
  for (std::string& line : lines) line.insert(0, indent);
  return lines;
}

std::string Dump(const RecordBytes& bytes, std::uint64_t level) {
  return DumpFileDataRecord(reinterpret_cast<const FileDataRecord*>(bytes.data()), level);
}

// A CertDataRecord at an address that suits no number.
RecordBytes UnalignedCertificate(const std::string& name) {
  const RecordBytes content = CertificateFile(name);
  RecordBytes bytes(1);
  AppendRecord(bytes, CertDataRecord{0, static_cast<std::uint32_t>(content.size())});
  bytes.insert(bytes.end(), content.begin(), content.end());
  return bytes;
}

template <std::size_t kUnits>
struct Descriptor {
  std::uint32_t lastModified[2];
  LarderWideChar filePath[kUnits];
};

template <std::size_t kUnits>
std::string Dump(const Descriptor<kUnits>& descriptor, std::uint64_t level) {
  return DumpFileObjectDescriptor(reinterpret_cast<const FileObjectDescriptor*>(&descriptor),
                                  level);
}

TEST(RecordDumpTest, ADescriptorIsShownWithItsTimeAndPath) {
  const Descriptor<6> descriptor = {{5, 1}, LARDER_WIDE("\\a, \xE4")};
  EXPECT_EQ(Dump(descriptor, 0),
            "{\r\n  lastModified:     4294967301,\r\n  filePath:         \\a, \xC3\xA4,\r\n}");
  EXPECT_EQ(Dump(descriptor, 2),
            "    {\r\n      lastModified:     4294967301,\r\n"
            "      filePath:         \\a, \xC3\xA4,\r\n    }");
}

TEST(RecordDumpTest, ADescriptorOfLargestTimeAndNoPathIsShown) {
  const Descriptor<1> descriptor = {{0xFFFFFFFF, 0xFFFFFFFF}, {}};
  EXPECT_EQ(Dump(descriptor, 0),
            "{\r\n  lastModified:     18446744073709551615,\r\n  filePath:         ,\r\n}");
}

TEST(RecordDumpTest, ARecordWithTwoChainsAtLevelZero) {
  const RecordBytes signer = CertificateFile("signer");
  const RecordBytes ca = CertificateFile("ca");
  const RecordBytes record = FileRecordBytes(Facts(), {{signer, ca}, {CertificateFile("ecdsa")}});
  Lines lines = FactLines("", std::to_string(record.size()));
  const Lines chains = {" CertChain: [",
                        "  CertData: [",
                        "{",
                        "  Subject:   \"C=US, O=Example, CN=Example Signer\"",
                        "  Issuer:    \"C=US, O=Example, CN=Example CA\"",
                        "  Serial:    \"a0 22 1f 0b\"",
                        "},",
                        "{",
                        "  Subject:   \"C=US, O=Example, CN=Example CA\"",
                        "  Issuer:    \"C=US, O=Example, CN=Example CA\"",
                        "  Serial:    \"01\"",
                        "}",
                        "  ],",
                        " CertChain: [",
                        "  CertData: [",
                        "{",
                        "  Subject:   \"CN=Key of ECDSA\"",
                        "  Issuer:    \"CN=Key of ECDSA\"",
                        "  Serial:    \"98 ba dc fe 00\"",
                        "}",
                        "  ]",
                        "  ]",
                        "}"};
  lines.insert(lines.end(), chains.begin(), chains.end());
  EXPECT_EQ(Dump(record, 0), Joined(lines));
}

TEST(RecordDumpTest, EveryNestingRepeatsTheIndentation) {
  const RecordBytes record = FileRecordBytes(Facts(), {{{}, {}}});
  for (const std::uint64_t level : {1U, 2U}) {
    const std::string once(2 * level, ' ');
    const std::string twice = once + once;
    const std::string thrice = twice + once;
    Lines lines = FactLines(once, "408");
    const Lines chain = {once + " CertChain: [",
                         twice + "  CertData: [",
                         thrice + "{",
                         thrice + "  Subject:   \"\"",
                         thrice + "  Issuer:    \"\"",
                         thrice + "  Serial:    \"\"",
                         thrice + "},",
                         thrice + "{",
                         thrice + "  Subject:   \"\"",
                         thrice + "  Issuer:    \"\"",
                         thrice + "  Serial:    \"\"",
                         thrice + "}",
                         twice + "  ]",
                         once + "  ]",
                         once + "}"};
    lines.insert(lines.end(), chain.begin(), chain.end());
    EXPECT_EQ(Dump(record, level), Joined(lines));
  }
}

TEST(RecordDumpTest, SizeAndIdentityMayBeZero) {
  RecordBytes record = FileRecordBytes(FileDataRecord{}, {{{}}});
  std::memset(record.data(), 0, sizeof(std::uint32_t));
  EXPECT_THAT(Dump(record, 0), StartsWith("{\r\n  dataSize:         0,\r\n"
                                          "  fileId:           \"0000000000000000\",\r\n"
                                          "  fileMD5:          \"00 00 "));
}

TEST(RecordDumpTest, WhatCannotBeParsedHasEmptyNamesAndTheDumpGoesOn) {
  const RecordBytes record = FileRecordBytes(
      Facts(), {{CertificateFile("text"), {}}, {CertificateFile("cut")}, {CertificateFile("rsa")}});
  const std::string empty = "{\r\n  Subject:   \"\"\r\n  Issuer:    \"\"\r\n  Serial:    \"\"\r\n}";
  const std::string chain = " CertChain: [\r\n  CertData: [\r\n";
  EXPECT_THAT(Dump(record, 0),
              HasSubstr(chain + empty + ",\r\n" + empty + "\r\n  ],\r\n" + chain + empty +
                        "\r\n  ],\r\n" + chain + "{\r\n  Subject:   \"CN=Key of RSA\"\r\n"));
}

TEST(RecordDumpTest, ACertificateIsReadAtAnyAddress) {
  const RecordBytes bytes = UnalignedCertificate("signer");
  EXPECT_EQ(GetCertSubject(bytes.data() + 1), "C=US, O=Example, CN=Example Signer");
  EXPECT_EQ(GetCertIssuer(bytes.data() + 1), "C=US, O=Example, CN=Example CA");
  EXPECT_EQ(GetCertSerial(bytes.data() + 1), "a0 22 1f 0b");
  EXPECT_EQ(GetCertSerial(UnalignedCertificate("rsa").data() + 1),
            "14 13 12 11 10 0f 0e 0d 0c 0b 0a 09 08 07 06 05 04 03 02 01");
}

TEST(RecordDumpTest, ANameHasRoomFor1023Characters) {
  EXPECT_EQ(GetCertSubject(UnalignedCertificate("full").data() + 1).size(), 1023u);
  EXPECT_LE(GetCertSubject(UnalignedCertificate("too-long").data() + 1).size(), 1023u);
}

TEST(RecordDumpTest, ALinkLeadsFromItsOwnRecord) {
  RecordBytes bytes(1);
  AppendRecord(bytes, CertChainRecord{0x01020304, 0});
  AppendRecord(bytes, CertDataRecord{0, 7});
  EXPECT_EQ(NextRecord(bytes.data() + 1), bytes.data() + 1 + 0x01020304);
  EXPECT_EQ(NextRecord(bytes.data() + 9), nullptr);
}

TEST(RecordDumpTest, NumbersAndBytesAreLowerCaseHexadecimal) {
  std::uint64_t id = 0xFEDCBA9876543210;
  EXPECT_EQ(FormatFileId(&id), "fedcba9876543210");
  id = 0;
  EXPECT_EQ(FormatFileId(&id), "0000000000000000");
  EXPECT_EQ(BytesToHexString("\x0B\x1F\xF0", 3), "0b 1f f0");
  EXPECT_EQ(BytesToHexString("\x0B", 1), "0b");
  EXPECT_EQ(BytesToHexString(nullptr, 0), "");
  EXPECT_EQ(MakeIndent(0), "");
  EXPECT_EQ(MakeIndent(3), "      ");
}

}  // namespace
}  // namespace larder
