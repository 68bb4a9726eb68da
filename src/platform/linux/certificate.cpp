#include "platform/certificate.h"

#include <openssl/asn1.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/provider.h>
#include <openssl/x509.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "platform/wide.h"

namespace larder::platform {
namespace {

using Bytes = std::span<const unsigned char>;

const X509* Context(const Certificate* certificate) noexcept {
  return reinterpret_cast<const X509*>(certificate);
}

// The keys that Windows knows. Other attributes are written as "OID." and the identifier.
constexpr std::array<std::pair<std::string_view, std::string_view>, 20> kKeys = {{
    {"2.5.4.3", "CN"},
    {"2.5.4.4", "SN"},
    {"2.5.4.5", "SERIALNUMBER"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "S"},
    {"2.5.4.9", "STREET"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.12", "T"},
    {"2.5.4.13", "Description"},
    {"2.5.4.17", "PostalCode"},
    {"2.5.4.18", "POBox"},
    {"2.5.4.20", "Phone"},
    {"2.5.4.24", "X21Address"},
    {"2.5.4.42", "G"},
    {"2.5.4.43", "I"},
    {"2.5.4.46", "dnQualifier"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "E"},
}};

std::string DottedIdentifier(const ASN1_OBJECT* object) {
  const int length = OBJ_obj2txt(nullptr, 0, object, 1);
  if (length <= 0) return {};
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  OBJ_obj2txt(text.data(), length + 1, object, 1);
  text.pop_back();
  return text;
}

std::string KeyText(const ASN1_OBJECT* object) {
  const std::string identifier = DottedIdentifier(object);
  const auto* key = std::find_if(kKeys.begin(), kKeys.end(),
                                 [&](const auto& known) { return known.first == identifier; });
  return key != kKeys.end() ? std::string(key->second) : "OID." + identifier;
}

// width: bytes of a big-endian unit. Bytes after the last whole unit are ignored.
std::string TextOfUnits(Bytes bytes, std::size_t width) {
  constexpr std::uint32_t kMaxCodePoint = 0x10FFFF;
  constexpr LarderWideChar kReplacement = 0xFFFD;
  WideString text;
  for (; bytes.size() >= width; bytes = bytes.subspan(width)) {
    std::uint32_t unit = 0;
    for (std::size_t i = 0; i < width; ++i) unit = unit << 8 | bytes[i];
    if (unit > kMaxCodePoint) unit = kReplacement;
    if (unit > 0xFFFF) {
      text += static_cast<LarderWideChar>(0xD800 + ((unit - 0x10000) >> 10));
      unit = 0xDC00 + ((unit - 0x10000) & 0x3FF);
    }
    text += static_cast<LarderWideChar>(unit);
  }
  return Utf8FromWide(text);
}

std::string TextOfUtf8(Bytes bytes) {
  std::string text(bytes.begin(), bytes.end());
  WideString wide;
  return WideFromUtf8(text, wide) ? text : TextOfUnits(bytes, 1);
}

// The form that Windows documents for values that aren't text.
std::string HexText(Bytes bytes) {
  std::string text = "#";
  for (const unsigned char byte : bytes) {
    text += "0123456789ABCDEF"[byte >> 4];
    text += "0123456789ABCDEF"[byte & 15];
  }
  return text;
}

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string Quoted(const std::string& text) {
  const bool needsQuotes = text.empty() || IsSpace(text.front()) || IsSpace(text.back()) ||
                           text.find_first_of(",+=\"\n<>#;") != std::string::npos;
  if (!needsQuotes) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

std::string ValueText(const ASN1_STRING* value) {
  const Bytes bytes(ASN1_STRING_get0_data(value),
                    static_cast<std::size_t>(ASN1_STRING_length(value)));
  switch (ASN1_STRING_type(value)) {
    case V_ASN1_UTF8STRING:
    case V_ASN1_T61STRING:  // in practice UTF-8, and Windows reads it as such
      return Quoted(TextOfUtf8(bytes));
    case V_ASN1_BMPSTRING:
      return Quoted(TextOfUnits(bytes, 2));
    case V_ASN1_UNIVERSALSTRING:
      return Quoted(TextOfUnits(bytes, 4));
    case V_ASN1_NUMERICSTRING:
    case V_ASN1_PRINTABLESTRING:
    case V_ASN1_IA5STRING:
      return Quoted(TextOfUnits(bytes, 1));
    default:
      return HexText(bytes);
  }
}

std::string NameText(const X509_NAME* name) {
  std::string text;
  int lastSet = -1;
  for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
    const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, i);
    const int set = X509_NAME_ENTRY_set(entry);
    if (i > 0) text += set == lastSet ? " + " : ", ";
    lastSet = set;
    text += KeyText(X509_NAME_ENTRY_get_object(entry)) + "=" +
            ValueText(X509_NAME_ENTRY_get_data(entry));
  }
  return text;
}

// The number of bytes that fit without splitting a UTF-8 character.
std::size_t FittingLength(const std::string& text, std::size_t capacity) {
  if (text.size() <= capacity) return text.size();
  std::size_t length = capacity;
  while (length > 0 && (text[length] & 0xC0) == 0x80) --length;
  return length;
}

// Parsing a certificate in the default context makes libcrypto search all its providers for a
// decoder of the key, which takes ten times as long as the rest. This context has none, so it
// leaves the key, which nobody needs, undecoded; what it accepts as a certificate is the same.
// Never freed: certificates refer to it.
OSSL_LIB_CTX* ParsingContext() noexcept {
  static OSSL_LIB_CTX* const context = [] {
    OSSL_LIB_CTX* made = OSSL_LIB_CTX_new();
    if (made != nullptr && OSSL_PROVIDER_load(made, "null") == nullptr) {
      OSSL_LIB_CTX_free(made);
      made = nullptr;
    }
    return made;
  }();
  return context;  // null is the default context
}

struct FreeEncoding {
  void operator()(unsigned char* bytes) const noexcept { OPENSSL_free(bytes); }
};

}  // namespace

void CertificateCloser::operator()(const Certificate* certificate) const noexcept {
  X509_free(const_cast<X509*>(Context(certificate)));
}

AutoCertificate ParseCertificate(const void* bytes, std::uint32_t size) noexcept {
  const auto* at = static_cast<const unsigned char*>(bytes);
  ERR_set_mark();  // a failure must not leave its errors in the thread's queue
  X509* certificate = X509_new_ex(ParsingContext(), nullptr);
  if (certificate != nullptr) d2i_X509(&certificate, &at, static_cast<long>(size));
  ERR_pop_to_mark();
  return AutoCertificate(reinterpret_cast<const Certificate*>(certificate));
}

void WriteCertificateName(const Certificate& certificate, CertificateName name, char* buffer,
                          std::uint32_t size) {
  const std::string text = CertificateNameText(certificate, name);
  const std::size_t length = FittingLength(text, size - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
}

std::string CertificateNameText(const Certificate& certificate, CertificateName name) {
  const X509* context = Context(&certificate);
  return NameText(name == CertificateName::kSubject ? X509_get_subject_name(context)
                                                    : X509_get_issuer_name(context));
}

std::vector<unsigned char> CertificateSerial(const Certificate& certificate) {
  unsigned char* encoding = nullptr;
  const int size = i2d_ASN1_INTEGER(X509_get0_serialNumber(Context(&certificate)), &encoding);
  const std::unique_ptr<unsigned char, FreeEncoding> owner(encoding);
  const unsigned char* content = encoding;
  long length = 0;
  int tag = 0;
  int tagClass = 0;
  if (size <= 0 || (ASN1_get_object(&content, &length, &tag, &tagClass, size) & 0x80)) return {};
  std::vector<unsigned char> serial(content, content + length);
  std::reverse(serial.begin(), serial.end());
  return serial;
}

}  // namespace larder::platform
