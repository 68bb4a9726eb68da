#include "records/record-dump.h"

#include <array>

#include "log/log-pieces.h"
#include "platform/certificate.h"
#include "platform/wide.h"
#include "records/record-cursor.h"

namespace larder {
namespace {

constexpr std::size_t kLabelWidth = 20;
constexpr std::string_view kDigits = "0123456789abcdef";

std::string FieldLine(const std::string& indent, std::string_view name, const std::string& value) {
  std::string label = "  " + std::string(name) + ":";
  label.resize(kLabelWidth, ' ');
  return indent + label + value + ",\r\n";
}

std::string InQuotes(const std::string& text) { return '"' + text + '"'; }

template <std::size_t kSize>
std::string DigestLine(const std::string& indent, std::string_view name,
                       const std::uint8_t (&digest)[kSize]) {
  return FieldLine(indent, name, InQuotes(BytesToHexString(digest, kSize)));
}

std::string FactLines(const FileDataRecord& record, const std::string& indent) {
  return FieldLine(indent, "dataSize", std::to_string(record.dataSize)) +
         FieldLine(indent, "fileId", InQuotes(FormatFileId(&record.fileId))) +
         DigestLine(indent, "fileMD5", record.fileMD5) +
         DigestLine(indent, "fileSHA1", record.fileSHA1) +
         DigestLine(indent, "fileSHA256", record.fileSHA256) +
         DigestLine(indent, "fileSHA384", record.fileSHA384) +
         DigestLine(indent, "fileSHA512", record.fileSHA512) +
         DigestLine(indent, "peMD5", record.peMD5) + DigestLine(indent, "peSHA1", record.peSHA1) +
         DigestLine(indent, "peSHA256", record.peSHA256) +
         DigestLine(indent, "peSHA384", record.peSHA384) +
         DigestLine(indent, "peSHA512", record.peSHA512);
}

void AppendCertificate(std::string& text, const void* cert, const std::string& indent,
                       const CertNameTexts& names) {
  text += indent + "{\r\n";
  text += indent + "  Subject:   " + InQuotes(names.subject(cert)) + "\r\n";
  text += indent + "  Issuer:    " + InQuotes(names.issuer(cert)) + "\r\n";
  text += indent + "  Serial:    " + InQuotes(GetCertSerial(cert)) + "\r\n";
  text += indent + "}";
}

// The chain at which the cursor is.
void AppendChain(std::string& text, RecordCursor& cursor, const std::string& indent,
                 const CertNameTexts& names) {
  text += indent + " CertChain: [\r\n";
  const std::string twice = indent + indent;
  text += twice + "  CertData: [\r\n";
  for (bool isFirst = true; cursor.NextCertificate(); isFirst = false) {
    if (!isFirst) text += ",\r\n";
    AppendCertificate(text, cursor.Certificate(), twice + indent, names);
  }
  text += "\r\n" + twice + "  ]";
}

platform::AutoCertificate Parse(const void* cert) {
  return platform::ParseCertificate(
      static_cast<const unsigned char*>(cert) + sizeof(CertDataRecord),
      ReadUnaligned<CertDataRecord>(cert).certSize);
}

std::string NameOf(const void* cert, platform::CertificateName name) {
  const platform::AutoCertificate certificate = Parse(cert);
  if (certificate == nullptr) return {};
  std::array<char, 1024> buffer;
  buffer[0] = '\0';
  platform::WriteCertificateName(*certificate, name, buffer.data(), buffer.size());
  return buffer.data();
}

std::string WholeNameOf(const void* cert, platform::CertificateName name) {
  const platform::AutoCertificate certificate = Parse(cert);
  return certificate == nullptr ? "" : platform::CertificateNameText(*certificate, name);
}

}  // namespace

std::string DumpFileObjectDescriptor(const FileObjectDescriptor* descriptor, std::uint64_t level) {
  const std::string indent = MakeIndent(level);
  const std::uint64_t time =
      std::uint64_t{descriptor->lastModified[1]} << 32 | descriptor->lastModified[0];
  WideString path;
  // The field is declared with one unit but holds the whole path.
  const auto* unit =
      reinterpret_cast<const unsigned char*>(descriptor) + offsetof(FileObjectDescriptor, filePath);
  while (const auto value = ReadUnaligned<LarderWideChar>(unit)) {
    path += value;
    unit += sizeof value;
  }
  return indent + "{\r\n" + FieldLine(indent, "lastModified", std::to_string(time)) +
         FieldLine(indent, "filePath", WideToUtf8(path)) + indent + "}";
}

std::string DumpFileDataRecord(const FileDataRecord* record, std::uint64_t level) {
  return DumpFileDataRecord(record, level, {&GetCertSubject, &GetCertIssuer});
}

std::string DumpFileDataRecord(const FileDataRecord* record, std::uint64_t level,
                               const CertNameTexts& names) {
  const std::string indent = MakeIndent(level);
  std::string text = indent + "{\r\n" + FactLines(*record, indent);
  RecordCursor cursor(*record);
  for (bool isFirst = true; cursor.NextChain(); isFirst = false) {
    if (!isFirst) text += ",\r\n";
    AppendChain(text, cursor, indent, names);
  }
  return text + "\r\n" + indent + "  ]\r\n" + indent + "}";
}

std::string FormatFileId(const std::uint64_t* fileId) {
  std::string text(16, '0');
  std::uint64_t rest = *fileId;
  for (auto digit = text.rbegin(); digit != text.rend(); ++digit, rest >>= 4) {
    *digit = kDigits[rest & 15];
  }
  return text;
}

std::string MakeIndent(std::uint64_t count) { return std::string(count * 2, ' '); }

std::string BytesToHexString(const void* bytes, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned byte = static_cast<const unsigned char*>(bytes)[i];
    if (i > 0) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string GetCertSubject(const void* cert) {
  return NameOf(cert, platform::CertificateName::kSubject);
}

std::string GetCertIssuer(const void* cert) {
  return NameOf(cert, platform::CertificateName::kIssuer);
}

std::string GetWholeCertSubject(const void* cert) {
  return WholeNameOf(cert, platform::CertificateName::kSubject);
}

std::string GetWholeCertIssuer(const void* cert) {
  return WholeNameOf(cert, platform::CertificateName::kIssuer);
}

std::string GetCertSerial(const void* cert) {
  const platform::AutoCertificate certificate = Parse(cert);
  if (certificate == nullptr) return {};
  const std::vector<unsigned char> serial = platform::CertificateSerial(*certificate);
  return BytesToHexString(serial.data(), serial.size());
}

}  // namespace larder
