#include "stock-file-query/cms/signed-data.h"

#include <algorithm>
#include <array>

#include "stock-file-query/cms/der-reader.h"

namespace larder::feed {
namespace {

// 1.2.840.113549.1.7.2
constexpr std::array<std::uint8_t, 9> kSignedData{0x2a, 0x86, 0x48, 0x86, 0xf7,
                                                  0x0d, 0x01, 0x07, 0x02};
// 1.3.6.1.4.1.311.2.4.1
constexpr std::array<std::uint8_t, 10> kNestedSignatureAttribute{0x2b, 0x06, 0x01, 0x04, 0x01,
                                                                 0x82, 0x37, 0x02, 0x04, 0x01};

bool IsObject(const std::optional<DerElement>& element, Bytes name) {
  return element && Equal(element->content, name);
}

void AddCertificate(Bytes bytes, std::vector<Certificate>& certificates) {
  const std::optional<Certificate> added = ReadCertificate(bytes);
  if (!added) return;
  const auto isAdded = [&](const Certificate& other) { return Equal(other.whole, added->whole); };
  if (std::ranges::none_of(certificates, isAdded)) certificates.push_back(*added);
}

void ReadCertificates(Bytes set, SignedData& data) {
  DerReader elements(set);
  while (const auto element = elements.Next()) {
    if (data.certificates.size() == kMaxCertificates) return;
    AddCertificate(element->whole, data.certificates);
  }
}

void ReadNested(Bytes attributes, SignedData& data) {
  DerReader reader(attributes);
  while (const auto attribute = reader.Next()) {
    DerReader parts(attribute->content);
    if (!IsObject(parts.Next(der::kObjectIdentifier), kNestedSignatureAttribute)) continue;
    const auto set = parts.Next(der::kSet);
    DerReader values(set ? set->content : Bytes());
    while (const auto value = values.Next()) {
      if (data.nestedSignatures.size() == kMaxNestedSignatures) return;
      data.nestedSignatures.push_back(value->whole);
    }
  }
}

// Nothing if it is neither form of the CHOICE.
std::optional<SignerIdentifier> TakeSignerIdentifier(DerReader& fields) {
  if (const auto subjectKeyId = fields.Next(der::ContextPrimitive(0)))
    return SignerIdentifier{{}, {}, subjectKeyId->content};
  const auto name = fields.Next(der::kSequence);
  if (!name) return std::nullopt;
  DerReader parts(name->content);
  const auto issuer = parts.Next(der::kSequence);
  const auto serial = parts.Next(der::kInteger);
  if (!issuer || !serial) return std::nullopt;
  return SignerIdentifier{issuer->whole, serial->content, {}};
}

void ReadSigner(Bytes info, SignedData& data) {
  DerReader fields(info);
  fields.Skip(der::kInteger);  // the version
  const std::optional<SignerIdentifier> signer = TakeSignerIdentifier(fields);
  if (!signer) return;
  data.signers.push_back(*signer);
  fields.Skip(der::kSequence);              // the digest algorithm
  fields.Skip(der::ContextConstructed(0));  // the signed attributes
  fields.Skip(der::kSequence);              // the signature algorithm
  fields.Skip(der::kOctetString);           // the signature value
  const auto attributes = fields.Next(der::ContextConstructed(1));
  if (attributes) ReadNested(attributes->content, data);
}

void ReadSigners(Bytes set, SignedData& data) {
  DerReader infos(set);
  while (const auto info = infos.Next()) {
    if (data.signers.size() == kMaxSigners) return;
    ReadSigner(info->content, data);
  }
}

void ReadFields(Bytes bytes, SignedData& data) {
  DerReader fields(bytes);
  fields.Skip(der::kInteger);  // the version
  fields.Skip(der::kSet);      // the digest algorithms
  if (const auto content = fields.Next(der::kSequence)) data.encapContentInfo = content->content;
  if (const auto set = fields.Next(der::ContextConstructed(0)))
    ReadCertificates(set->content, data);
  fields.Skip(der::ContextConstructed(1));  // the certificate revocation lists
  if (const auto set = fields.Next(der::kSet)) ReadSigners(set->content, data);
}

}  // namespace

std::optional<SignedData> ReadSignedData(Bytes bytes) {
  const auto info = DerReader(bytes).Next(der::kSequence);
  if (!info) return std::nullopt;
  DerReader parts(info->content);
  if (!IsObject(parts.Next(der::kObjectIdentifier), kSignedData)) return std::nullopt;
  SignedData data;
  data.whole = info->whole;
  const auto holder = parts.Next(der::ContextConstructed(0));
  const auto fields = DerReader(holder ? holder->content : Bytes()).Next(der::kSequence);
  if (fields) ReadFields(fields->content, data);
  return data;
}

}  // namespace larder::feed
