#include "stock-file-query/cms/certificate.h"

#include <array>

#include "stock-file-query/cms/der-reader.h"

namespace larder::feed {
namespace {

constexpr std::array<std::uint8_t, 3> kSubjectKeyIdentifier{0x55, 0x1d, 0x0e};    // 2.5.29.14
constexpr std::array<std::uint8_t, 3> kAuthorityKeyIdentifier{0x55, 0x1d, 0x23};  // 2.5.29.35

Bytes ContentOf(const std::optional<DerElement>& element) {
  return element ? element->content : Bytes();
}

void ReadExtension(Bytes extension, Certificate& certificate) {
  DerReader parts(extension);
  const Bytes name = ContentOf(parts.Next(der::kObjectIdentifier));
  parts.Skip(der::kBoolean);
  const Bytes value = ContentOf(parts.Next(der::kOctetString));
  if (Equal(name, kSubjectKeyIdentifier)) {
    certificate.subjectKeyId = ContentOf(DerReader(value).Next(der::kOctetString));
  } else if (Equal(name, kAuthorityKeyIdentifier)) {
    DerReader identifier(ContentOf(DerReader(value).Next(der::kSequence)));
    certificate.authorityKeyId = ContentOf(identifier.Next(der::ContextPrimitive(0)));
  }
}

// fields: those after the subject's public key.
void ReadExtensions(DerReader fields, Certificate& certificate) {
  constexpr std::uint8_t kIssuerId = der::ContextPrimitive(1);
  constexpr std::uint8_t kSubjectId = der::ContextPrimitive(2);
  fields.Skip(kIssuerId);
  fields.Skip(kSubjectId);
  DerReader holder(ContentOf(fields.Next(der::ContextConstructed(3))));
  DerReader extensions(ContentOf(holder.Next(der::kSequence)));
  while (const auto extension = extensions.Next(der::kSequence)) {
    ReadExtension(extension->content, certificate);
  }
}

}  // namespace

std::optional<Certificate> ReadCertificate(Bytes bytes) {
  DerReader outer(bytes);
  const auto whole = outer.Next(der::kSequence);
  DerReader fields(ContentOf(DerReader(ContentOf(whole)).Next(der::kSequence)));
  fields.Skip(der::ContextConstructed(0));  // the version
  const auto serial = fields.Next(der::kInteger);
  fields.Skip(der::kSequence);  // the signature algorithm
  const auto issuer = fields.Next(der::kSequence);
  fields.Skip(der::kSequence);  // the validity
  const auto subject = fields.Next(der::kSequence);
  if (!serial || !issuer || !subject) return std::nullopt;
  Certificate certificate{whole->whole, serial->content, issuer->whole, subject->whole, {}, {}};
  fields.Skip(der::kSequence);  // the public key
  ReadExtensions(fields, certificate);
  return certificate;
}

}  // namespace larder::feed
