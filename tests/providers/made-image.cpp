#include "providers/made-image.h"

#include <cstring>

namespace larder::feed {
namespace {

void Put(std::string& file, std::uint64_t offset, const std::string& bytes) {
  if (offset + bytes.size() <= file.size()) file.replace(offset, bytes.size(), bytes);
}

std::string Little(std::uint32_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> (8 * i));
  return bytes;
}

std::string Length(std::size_t length) {
  if (length < 0x80) return {static_cast<char>(length)};
  std::string bytes;
  for (std::size_t rest = length; rest > 0; rest >>= 8) {
    bytes.insert(bytes.begin(), static_cast<char>(rest));
  }
  return static_cast<char>(0x80 + bytes.size()) + bytes;
}

std::string Joined(const std::vector<std::string>& parts) {
  std::string whole;
  for (const std::string& part : parts) whole += part;
  return whole;
}

// A name with the text as the one thing that it says.
std::string Name(const std::string& text) {
  const std::string type = Der(0x06, "\x55\x04\x03");
  return Der(0x30, Der(0x31, Der(0x30, type + Der(0x0c, text))));
}

std::string Extension(const std::string& type, const std::string& value) {
  return Der(0x30, Der(0x06, type) + Der(0x01, "\xff") + Der(0x04, value));
}

std::string Extensions(const CertificateShape& shape) {
  std::string all = Extension("\x55\x1d\x0f", Der(0x03, std::string("\x07\x80", 2)));
  if (!shape.keyId.empty()) all += Extension("\x55\x1d\x0e", Der(0x04, shape.keyId));
  if (!shape.issuerKeyId.empty()) {
    all += Extension("\x55\x1d\x23", Der(0x30, Der(0x80, shape.issuerKeyId)));
  }
  return Der(0xa3, Der(0x30, all));
}

std::string Algorithm() { return Der(0x30, Der(0x06, "\x2a\x03\x04")); }

std::string SignerInfo(const std::string& identifier, const std::string& attributes) {
  return Der(0x30, Der(0x02, "\x01") + identifier + Algorithm() + Der(0xa0, "") + Algorithm() +
                       Der(0x04, "signature") + Der(0xa1, attributes));
}

}  // namespace

std::string MakeImage(const ImageShape& shape) {
  std::string file(shape.size, '\0');
  for (std::size_t i = 0; i < file.size(); ++i) file[i] = static_cast<char>(i % 251);
  Put(file, 0, "MZ");
  Put(file, 60, Little(shape.headerOffset, 4));
  const std::uint64_t optional = std::uint64_t{shape.headerOffset} + 24;
  const std::uint64_t directory = optional + (shape.magic == 0x10b ? 96 : 112);
  Put(file, shape.headerOffset, shape.signature);
  Put(file, optional, Little(shape.magic, 2));
  Put(file, directory - 4, Little(shape.directoryCount, 4));
  Put(file, directory + 32, Little(shape.tableOffset, 4) + Little(shape.tableSize, 4));
  return file;
}

std::string MakeSignedImage(ImageShape shape, const std::string& table) {
  shape.tableOffset = static_cast<std::uint32_t>(shape.size);
  shape.tableSize = static_cast<std::uint32_t>(table.size());
  return MakeImage(shape) + table;
}

std::string Der(int tag, const std::string& content) {
  return static_cast<char>(tag) + Length(content.size()) + content;
}

std::string MakeCertificate(const CertificateShape& shape) {
  const std::string fields = Der(0xa0, Der(0x02, "\x02")) + Der(0x02, shape.serial) + Algorithm() +
                             Name(shape.issuer) + Der(0x30, "validity") + Name(shape.subject) +
                             Der(0x30, "key") + Extensions(shape);
  return Der(0x30, Der(0x30, fields) + Algorithm() + Der(0x03, "signature"));
}

std::string MakeSigner(const std::string& issuer, const std::string& serial,
                       const std::vector<std::string>& nested) {
  const std::string type = Der(0x06, "\x2b\x06\x01\x04\x01\x82\x37\x02\x04\x01");
  const std::string time = Der(0x30, Der(0x06, "\x2a\x05") + Der(0x31, Der(0x04, "time stamp")));
  return SignerInfo(Der(0x30, Name(issuer) + Der(0x02, serial)),
                    nested.empty() ? time : time + Der(0x30, type + Der(0x31, Joined(nested))));
}

std::string MakeSignerByKey(const std::string& keyId) { return SignerInfo(Der(0x80, keyId), ""); }

std::string MakeSignature(const std::vector<std::string>& certificates,
                          const std::vector<std::string>& signers) {
  const std::string data =
      Der(0x30, Der(0x02, "\x01") + Der(0x31, Algorithm()) + Der(0x30, Der(0x06, "\x2a\x07")) +
                    Der(0xa0, Joined(certificates)) + Der(0xa1, "revoked") +
                    Der(0x31, Joined(signers)));
  return Der(0x30, Der(0x06, "\x2a\x86\x48\x86\xf7\x0d\x01\x07\x02") + Der(0xa0, data));
}

std::string MakeEntry(const std::string& certificate, int type) {
  return MakeEntry(certificate, type, static_cast<std::uint32_t>(8 + certificate.size()));
}

std::string MakeEntry(const std::string& certificate, int type, std::uint32_t size) {
  std::string entry = Little(size, 4) + Little(0x0200, 2) +
                      Little(static_cast<std::uint32_t>(type), 2) + certificate;
  entry.resize((entry.size() + 7) / 8 * 8);
  return entry;
}

Bytes BytesOf(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string TextOf(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

ReadAt ReadAtOf(const std::string& file) {
  return [&file](std::uint64_t offset, void* buffer, std::size_t size) {
    if (offset > file.size() || size > file.size() - offset) return false;
    std::memcpy(buffer, file.data() + offset, size);
    return true;
  };
}

}  // namespace larder::feed
