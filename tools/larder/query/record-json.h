// What a query gave for one file, as one line of JSON. docs/tool.md has its form.
#pragma once

#include <string>

#include "tools/larder/query/file-query.h"

namespace larder::tool {

// UTF-8, with a line feed at its end. answer: its block, if it has one, is a file record that
// ValidateFileDataRecord accepts.
std::string JsonLine(const FileAnswer& answer);

}  // namespace larder::tool
