// The result codes of src/platform, and the rule by which its operations report failure.
//
// A Code is 32-bit and has the numbers of Win32 on every system; 0 is success.
//
// An operation that can fail returns a Code and stores its results through its last parameters. If
// it fails, a result that is a handle, a key or a module is empty (InvalidHandle() for a file, null
// for everything else), and every other result is untouched; exceptions are stated with the
// operation. The contents of a buffer are then undefined. [[nodiscard]] marks the codes that a
// caller must not ignore.
//
// What can't fail in more than one way has no code: a predicate or a conversion returns bool, a
// lookup returns what it found, null or empty if there is nothing, and a closing call returns
// nothing. Certificates and digests give no reason for a failure: their operations return null or
// false.
#pragma once

#include <cstdint>

namespace larder::platform {

using Code = std::uint32_t;

inline constexpr Code kSuccess = 0;
inline constexpr Code kInvalidFunction = 1;
inline constexpr Code kFileNotFound = 2;
inline constexpr Code kPathNotFound = 3;
inline constexpr Code kTooManyOpenFiles = 4;
inline constexpr Code kAccessDenied = 5;
inline constexpr Code kInvalidHandle = 6;
inline constexpr Code kNotEnoughMemory = 8;
inline constexpr Code kInvalidData = 13;
inline constexpr Code kGeneralFailure = 31;
inline constexpr Code kSharingViolation = 32;
inline constexpr Code kNotSupported = 50;
inline constexpr Code kInvalidParameter = 87;
inline constexpr Code kDiskFull = 112;
inline constexpr Code kInvalidName = 123;
inline constexpr Code kModuleNotFound = 126;
inline constexpr Code kProcedureNotFound = 127;
inline constexpr Code kDirectoryNotEmpty = 145;
inline constexpr Code kAlreadyExists = 183;
inline constexpr Code kBadExeFormat = 193;
inline constexpr Code kNameTooLong = 206;
inline constexpr Code kMoreData = 234;
inline constexpr Code kNoMoreItems = 259;
inline constexpr Code kInvalidDirectory = 267;
inline constexpr Code kRegistryCorrupt = 1015;
inline constexpr Code kKeyDeleted = 1018;
inline constexpr Code kNoUnicodeTranslation = 1113;
inline constexpr Code kIoDevice = 1117;
inline constexpr Code kPossibleDeadlock = 1131;
inline constexpr Code kCannotResolveName = 1921;

}  // namespace larder::platform
