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

// 16 lower-case hexadecimal digits.
std::string FormatFileId(const std::uint64_t* fileId);

// Two blanks, count times.
std::string MakeIndent(std::uint64_t count);

// Two lower-case hexadecimal digits a byte, with a blank between bytes.
std::string BytesToHexString(const void* bytes, std::size_t count);

// cert: a CertDataRecord. Names have the form of platform/certificate.h and at most 1023 bytes. The
// serial's bytes are printed in the order of CertificateSerial, least significant first.
std::string GetCertSubject(const void* cert);
std::string GetCertIssuer(const void* cert);
std::string GetCertSerial(const void* cert);

}  // namespace larder
