#include "records/record-dump.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "records/record-cursor.h"
#include "testing/certificate-file.h"
#include "testing/file-record-bytes.h"

namespace larder {
namespace {

// In the record's order, each filled with one byte.
constexpr struct {
  const char* label;
  const char* byte;
  unsigned char value;
  std::size_t size;
} kDigests[] = {{"fileMD5:          ", "0a", 0x0A, 16}, {"fileSHA1:         ", "b1", 0xB1, 20},
                {"fileSHA256:       ", "c2", 0xC2, 32}, {"fileSHA384:       ", "d3", 0xD3, 48},
                {"fileSHA512:       ", "e4", 0xE4, 64}, {"peMD5:            ", "f5", 0xF5, 16},
                {"peSHA1:           ", "60", 0x60, 20}, {"peSHA256:         ", "71", 0x71, 32},
                {"peSHA384:         ", "82", 0x82, 48}, {"peSHA512:         ", "93", 0x93, 64}};

FileDataRecord Facts() {
  FileDataRecord facts{};
  facts.providerType = 1;
  facts.fileId = 0x0123456789ABCDEF;
  std::memset(facts.reserved, 0xFF, sizeof facts.reserved);
  std::size_t offset = offsetof(FileDataRecord, fileMD5);
  for (const auto& digest : kDigests) {
    std::memset(reinterpret_cast<char*>(&facts) + offset, digest.value, digest.size);
    offset += digest.size;
  }
  return facts;
}

std::string FactText(const std::string& indent, std::size_t dataSize) {
  std::string text = indent + "{\r\n" + indent + "  dataSize:         " + std::to_string(dataSize) +
                     ",\r\n" + indent + "  fileId:           \"0123456789abcdef\",\r\n";
  for (const auto& digest : kDigests) {
    text += indent + "  " + digest.label + '"' + digest.byte;
    for (std::size_t i = 1; i < digest.size; ++i) text += std::string(" ") + digest.byte;
    text += "\",\r\n";
  }
  return text;
}

std::string CertificateText(const std::string& indent, const std::string& subject,
                            const std::string& issuer, const std::string& serial) {
  const std::string next = "\"\r\n" + indent;
  return indent + "{\r\n" + indent + "  Subject:   \"" + subject + next + "  Issuer:    \"" +
         issuer + next + "  Serial:    \"" + serial + next + "}";
}

std::string Dump(const RecordBytes& bytes, std::uint64_t level) {
  return DumpFileDataRecord(reinterpret_cast<const FileDataRecord*>(bytes.data()), level);
}

TEST(RecordDumpTest, ShowsADescriptorsTimeAndPath) {
  struct {
    std::uint32_t lastModified[2];
    LarderWideChar filePath[6];
  } descriptor = {{5, 1}, LARDER_WIDE("\\a, \xE4")};
  const auto* shown = reinterpret_cast<const FileObjectDescriptor*>(&descriptor);
  EXPECT_EQ(DumpFileObjectDescriptor(shown, 2),
            "    {\r\n      lastModified:     4294967301,\r\n"
            "      filePath:         \\a, \xC3\xA4,\r\n    }");
}

// None at level 0. Each chain opens a bracket; only the last one's is closed.
TEST(RecordDumpTest, RepeatsTheIndentationAtEachLevelOfNesting) {
  const RecordBytes signer = CertificateFile("signer");
  const RecordBytes ca = CertificateFile("ca");
  const RecordBytes record = FileRecordBytes(Facts(), {{signer, ca}, {CertificateFile("ecdsa")}});
  const std::string nameOfSigner = "C=US, O=Example, CN=Example Signer";
  const std::string nameOfCa = "C=US, O=Example, CN=Example CA";
  for (const std::uint64_t level : {0U, 1U, 2U}) {
    const std::string once(2 * level, ' ');
    const std::string twice = once + once;
    const std::string thrice = twice + once;
    const std::string chain = once + " CertChain: [\r\n" + twice + "  CertData: [\r\n";
    EXPECT_EQ(Dump(record, level),
              FactText(once, record.size()) + chain +
                  CertificateText(thrice, nameOfSigner, nameOfCa, "a0 22 1f 0b") + ",\r\n" +
                  CertificateText(thrice, nameOfCa, nameOfCa, "01") + "\r\n" + twice + "  ],\r\n" +
                  chain +
                  CertificateText(thrice, "CN=Key of ECDSA", "CN=Key of ECDSA", "98 ba dc fe 00") +
                  "\r\n" + twice + "  ]\r\n" + once + "  ]\r\n" + once + "}");
  }
}

TEST(RecordDumpTest, ShowsEmptyNamesForACertificateThatCannotBeParsedAndGoesOn) {
  const RecordBytes record = FileRecordBytes(
      Facts(), {{CertificateFile("text"), {}}, {CertificateFile("cut")}, {CertificateFile("rsa")}});
  const std::string empty = CertificateText("", "", "", "");
  const std::string chain = " CertChain: [\r\n  CertData: [\r\n";
  EXPECT_THAT(Dump(record, 0), testing::HasSubstr(chain + empty + ",\r\n" + empty + "\r\n  ],\r\n" +
                                                  chain + empty + "\r\n  ],\r\n" + chain +
                                                  "{\r\n  Subject:   \"CN=Key of RSA\"\r\n"));
}

TEST(RecordDumpTest, ANameMayHave1023Characters) {
  const RecordBytes record = FileRecordBytes(Facts(), {{CertificateFile("full")}});
  EXPECT_EQ(GetCertSubject(record.data() + 392).size(), 1023U);
}

}  // namespace
}  // namespace larder
