// The results in the documentation.
#pragma once

#include <string>
#include <vector>

#include "results.h"

namespace larder {

// Replaces the table in docs/benchmarks.md, between its two markers, and docs/benchmarks.svg.
// machine: what the table is from, one line. Throws std::runtime_error.
void WriteDocument(const std::vector<Result>& results, const std::string& machine);

// The picture: a bar for each row with a result, as a part of its must.
std::string MakePicture(const std::vector<Result>& results);

}  // namespace larder
