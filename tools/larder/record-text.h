// Data blocks as text for a person: lines of a label, blanks and a value.
#pragma once

#include <larder/records.h>

#include <span>
#include <string>

#include "file-record.h"

namespace larder::tool {

std::string RecordLine(std::string label, const std::string& value);

std::string FileRecordText(const FileRecord& record);

// A block of unknown form: type, size and a dump of its first bytes. block: at least a header.
std::string BlockText(std::span<const unsigned char> block);

}  // namespace larder::tool
