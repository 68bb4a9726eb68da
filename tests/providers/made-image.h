// Executable images and signatures as a test wants them, right or wrong. None of the signatures
// would verify, and there is no code in the images.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "stock-file-query/bytes.h"
#include "stock-file-query/pe/image-layout.h"

namespace larder::feed {

struct ImageShape {
  std::size_t size = 512;
  std::uint32_t headerOffset = 64;
  std::string signature{"PE\0\0", 4};
  std::uint16_t magic = 0x20b;
  std::uint32_t directoryCount = 16;
  std::uint32_t tableOffset = 0;
  std::uint32_t tableSize = 0;
};
// Fields that don't fit into the size are left out.
std::string MakeImage(const ImageShape& shape);
// The image with the table behind it, which its directory names.
std::string MakeSignedImage(ImageShape shape, const std::string& table);

// An element in DER.
std::string Der(int tag, const std::string& content);

// Names and keys are any bytes; an empty key makes no extension. The serial number serves as the
// certificate's name in what tests say.
struct CertificateShape {
  std::string serial;
  std::string subject;
  std::string issuer;
  std::string keyId = {};
  std::string issuerKeyId = {};
};
std::string MakeCertificate(const CertificateShape& shape);

// Signers by issuer and serial number, or by key; nested: whole signatures, in one attribute.
std::string MakeSigner(const std::string& issuer, const std::string& serial,
                       const std::vector<std::string>& nested = {});
std::string MakeSignerByKey(const std::string& keyId);
std::string MakeSignature(const std::vector<std::string>& certificates,
                          const std::vector<std::string>& signers);

// An entry of a certificate table, up to the next multiple of 8.
std::string MakeEntry(const std::string& certificate, int type = 2);
std::string MakeEntry(const std::string& certificate, int type, std::uint32_t size);

Bytes BytesOf(const std::string& text);
std::string TextOf(Bytes bytes);
// The bytes must outlive what is given.
ReadAt ReadAtOf(const std::string& file);

}  // namespace larder::feed
