#include "platform/message.h"

#include <algorithm>
#include <iterator>

namespace larder::platform {
namespace {

struct Message {
  Code code;
  const char16_t* text;
};

// In ascending order of code.
constexpr Message kMessages[] = {
    {kSuccess, u"The operation completed successfully.\r\n"},
    {kInvalidFunction, u"Incorrect function.\r\n"},
    {kFileNotFound, u"The system cannot find the file specified.\r\n"},
    {kPathNotFound, u"The system cannot find the path specified.\r\n"},
    {kTooManyOpenFiles, u"The system cannot open the file.\r\n"},
    {kAccessDenied, u"Access is denied.\r\n"},
    {kInvalidHandle, u"The handle is invalid.\r\n"},
    {kNotEnoughMemory, u"Not enough memory resources are available to process this command.\r\n"},
    {kInvalidData, u"The data is invalid.\r\n"},
    {kGeneralFailure, u"A device attached to the system is not functioning.\r\n"},
    {kSharingViolation,
     u"The process cannot access the file because it is being used by another process.\r\n"},
    {kNotSupported, u"The request is not supported.\r\n"},
    {kInvalidParameter, u"The parameter is incorrect.\r\n"},
    {kDiskFull, u"There is not enough space on the disk.\r\n"},
    {kInvalidName, u"The filename, directory name, or volume label syntax is incorrect.\r\n"},
    {kModuleNotFound, u"The specified module could not be found.\r\n"},
    {kProcedureNotFound, u"The specified procedure could not be found.\r\n"},
    {kDirectoryNotEmpty, u"The directory is not empty.\r\n"},
    {kAlreadyExists, u"Cannot create a file when that file already exists.\r\n"},
    {kBadExeFormat, u"%1 is not a valid Win32 application.\r\n"},
    {kNameTooLong, u"The filename or extension is too long.\r\n"},
    {kMoreData, u"More data is available.\r\n"},
    {kNoMoreItems, u"No more data is available.\r\n"},
    {kInvalidDirectory, u"The directory name is invalid.\r\n"},
    {kRegistryCorrupt,
     u"The registry is corrupted. The structure of one of the files containing registry data is "
     u"corrupted, or the system's memory image of the file is corrupted, or the file could not be "
     u"recovered because the alternate copy or log was absent or corrupted.\r\n"},
    {kKeyDeleted,
     u"Illegal operation attempted on a registry key that has been marked for deletion.\r\n"},
    {kNoUnicodeTranslation,
     u"No mapping for the Unicode character exists in the target multi-byte code page.\r\n"},
    {kIoDevice, u"The request could not be performed because of an I/O device error.\r\n"},
    {kCannotResolveName, u"The name of the file cannot be resolved by the system.\r\n"},
};

constexpr bool IsBefore(const Message& message, Code code) { return message.code < code; }

}  // namespace

WideString SystemMessage(Code code) {
  const auto* found = std::lower_bound(std::begin(kMessages), std::end(kMessages), code, IsBefore);
  return found != std::end(kMessages) && found->code == code ? found->text : WideString();
}

}  // namespace larder::platform
