#include "platform/certificate.h"

#include <gmock/gmock.h>

#include <array>
#include <string>

#include "testing/certificate-file.h"
#include "testing/system-text.h"

namespace larder::platform {
namespace {

using testing::AnyOf;
using Bytes = std::vector<unsigned char>;

AutoCertificate Parse(const Bytes& bytes) {
  return ParseCertificate(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::string NameIn(const std::string& file, CertificateName name = CertificateName::kSubject) {
  const AutoCertificate certificate = Parse(CertificateFile(file));
  if (certificate == nullptr) return "unreadable";
  std::array<char, 1024> buffer{};
  WriteCertificateName(*certificate, name, buffer.data(), buffer.size());
  return buffer.data();
}

// Expects the form that is documented for CERT_X500_NAME_STR or, where this system is known to
// deviate, its own.
void ExpectSubject(const std::string& file, const std::string& documented) {
  const std::string text = SystemText(documented);
  EXPECT_THAT(NameIn(file), AnyOf(text, DeviatingSubject(file).value_or(text))) << file;
}

TEST(CertificateTest, ACertificateIsParsedWithoutTheBytesThatFollowItAndOutlivesItsBytes) {
  Bytes bytes = CertificateFile("signer");
  bytes.push_back(0x30);
  const AutoCertificate certificate = Parse(bytes);
  ASSERT_NE(certificate, nullptr);
  bytes[1] = 0xFF;
  EXPECT_EQ(Parse(bytes), nullptr);
  EXPECT_EQ(ParseCertificate("", 0), nullptr);
  for (const char* file : {"cut", "text"}) EXPECT_EQ(NameIn(file), "unreadable");
  bytes.assign(bytes.size(), 0);
  EXPECT_EQ(CertificateSerial(*certificate), (Bytes{0xA0, 0x22, 0x1F, 0x0B}));
}

TEST(CertificateTest, NamesHaveKeysQuotesAndTextOfEveryKindInTheirOrder) {
  EXPECT_EQ(NameIn("signer", CertificateName::kIssuer), "C=US, O=Example, CN=Example CA");
  const std::pair<const char*, const char*> cases[] = {
      {"signer", "C=US, O=Example, CN=Example Signer"},
      {"rsa", "CN=Key of RSA"},
      {"ecdsa", "CN=Key of ECDSA"},
      {"keys",
       "CN=xy, O=xy, OU=xy, C=xy, L=xy, S=xy, STREET=xy, T=xy, G=xy, I=xy, SN=xy, DC=xy, E=xy, "
       "SERIALNUMBER=xy, Description=xy, PostalCode=xy, POBox=xy, Phone=xy, X21Address=xy, "
       "dnQualifier=xy"},
      {"unknown-key", "CN=x, OID.0.9.2342.19200300.100.1.1=y, OID.1.2.3.4=z"},
      {"multiple", "O=One, CN=Two + OU=Three, OU=Four"},
      {"quotes",
       R"(CN="a,b", CN="a+b", CN="a=b", CN="""a""", CN="a<b", CN="a>b", CN="a#b", CN="a;b", )"
       R"(CN=" a", CN=a\b, CN=a/b)"},
      {"blanks", "CN=\"a \", CN=a  bc"},
      {"empty-value", "CN=\"\", O=x"},
      {"empty-name", ""},
      {"utf8", "CN=\xC5\xBDlu\xC5\xA5 \xE2\x82\xAC, O=\xC3\xA4"},
      {"bmp", "CN=\xC5\xBDlu\xC5\xA5 \xE2\x82\xAC, O=\xC3\xA4"},
      {"universal", "CN=A\xF0\x9F\x97\x9D"},
      {"teletex", "CN=\xC3\xA4, O=plain"},
      {"teletex-utf8", "CN=\xC3\xA4"},
      {"broken-utf8", "CN=a\xEF\xBF\xBD!"},
      {"no-text", "CN=#0A56CF"},
  };
  for (const auto& [file, text] : cases) ExpectSubject(file, text);
}

TEST(CertificateTest, ANameIsCutToItsBufferAndWholeWithoutOne) {
  std::string units;
  for (int i = 1; i <= 14; ++i)
    units += "OU=" + std::string(i < 10 ? 63 : 62, '0') + std::to_string(i) + ", ";
  ExpectSubject("full", units + "CN=" + std::string(53, '0') + "1");
  ExpectSubject("too-long", units + "CN=" + std::string(54, '0'));
  EXPECT_EQ(CertificateNameText(*Parse(CertificateFile("too-long")), CertificateName::kSubject),
            units + "CN=" + std::string(54, '0') + "1");
  const std::string sharp = SystemText("\xC3\xA4");
  const std::string cut = units + "CN=" + std::string(52, '0') + "1";
  EXPECT_EQ(NameIn("cut-character"), sharp.size() == 1 ? cut + sharp : cut);
}

TEST(CertificateTest, ASerialIsItsEncodingFromTheLastByteOn) {
  const std::pair<const char*, Bytes> cases[] = {
      {"rsa", {20, 19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1}},
      {"ecdsa", {0x98, 0xBA, 0xDC, 0xFE, 0}},
      {"negative", {0x7F, 0xFF}},
      {"zero", {0}}};
  for (const auto& [file, serial] : cases)
    EXPECT_EQ(CertificateSerial(*Parse(CertificateFile(file))), serial) << file;
  // Leading zeros stay or make the certificate unreadable.
  const AutoCertificate padded = Parse(CertificateFile("padded-serial"));
  EXPECT_TRUE(padded == nullptr || CertificateSerial(*padded) == Bytes({0x1F, 0x0B, 0, 0}));
}

}  // namespace
}  // namespace larder::platform
