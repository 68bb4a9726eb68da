// Formats the records of larder/records.h as text for people; it isn't meant to be parsed. Pure
// functions, any thread. They throw nothing but std::bad_alloc and std::length_error.
//
// Records aren't checked: pass those from outside to ValidateFileDataRecord first. A certificate
// that can't be parsed isn't an error; its names and its serial are empty.
#pragma once

#include <larder/records.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace larder {

// level: the indentation, in steps of two blanks. Lines end in CR LF, except the last one. Each
// level of nesting repeats the whole indentation, so level 0 has none. Each chain opens a bracket,
// but only the last one's is closed.
std::string DumpFileObjectDescriptor(const FileObjectDescriptor* descriptor, std::uint64_t level);
std::string DumpFileDataRecord(const FileDataRecord* record, std::uint64_t level);

// The text of a certificate's names in a dump. cert: a CertDataRecord.
struct CertNameTexts {
  std::string (*subject)(const void* cert);
  std::string (*issuer)(const void* cert);
};
// The same dump with names from these functions.
std::string DumpFileDataRecord(const FileDataRecord* record, std::uint64_t level,
                               const CertNameTexts& names);

// 16 lower-case hexadecimal digits.
std::string FormatFileId(const std::uint64_t* fileId);

// Two blanks, count times.
std::string MakeIndent(std::uint64_t count);

// Two lower-case hexadecimal digits a byte, with a blank between bytes.
std::string BytesToHexString(const void* bytes, std::size_t count);

// cert: a CertDataRecord. Names have the form of WriteCertificateName (platform/certificate.h).
// They end at the first NUL and after 1023 bytes at the latest, and aren't escaped: a name may
// contain line ends. The serial's bytes are printed in the order of CertificateSerial, least
// significant first.
std::string GetCertSubject(const void* cert);
std::string GetCertIssuer(const void* cert);
std::string GetCertSerial(const void* cert);

// The names in the form of CertificateNameText: whole and in UTF-8, NULs included. Not escaped
// either.
std::string GetWholeCertSubject(const void* cert);
std::string GetWholeCertIssuer(const void* cert);

}  // namespace larder
