// The records of larder/records.h as text for a person or a log; it isn't meant to be parsed. Pure
// functions, any thread; they throw nothing but std::bad_alloc and std::length_error.
//
// Nothing of a record is checked here: one that comes from elsewhere goes through
// ValidateFileDataRecord first. A certificate that can't be parsed is no failure; its names and its
// serial are empty.
#pragma once

#include <larder/records.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace larder {

// level: how far the text is indented, two blanks each. Lines end in CR LF, the last one has no
// end. Every level of nesting repeats the whole indentation, so that there is none at level 0; and
// each chain opens a bracket of which only the last one's is closed.
std::string DumpFileObjectDescriptor(const FileObjectDescriptor* descriptor, std::uint64_t level);
std::string DumpFileDataRecord(const FileDataRecord* record, std::uint64_t level);

// 16 lower-case hexadecimal digits.
std::string FormatFileId(const std::uint64_t* fileId);

// Two blanks, count times.
std::string MakeIndent(std::uint64_t count);

// Two lower-case hexadecimal digits for each byte, a blank between two bytes.
std::string BytesToHexString(const void* bytes, std::size_t count);

// cert: a CertDataRecord. The names are as platform/certificate.h has them, at most 1023 bytes. The
// serial's bytes are printed in the order of CertificateSerial, the least significant one first.
std::string GetCertSubject(const void* cert);
std::string GetCertIssuer(const void* cert);
std::string GetCertSerial(const void* cert);

}  // namespace larder
