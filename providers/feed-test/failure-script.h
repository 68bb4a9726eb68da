// Failures that a path asks for. feed-test-provider.h has the grammar.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/wide.h"

namespace larder::feed {

enum class Operation { kGetKey, kQuery, kFreeQuery, kWrite };

// What one operation is to do.
struct Outcome {
  enum class Kind { kWork, kCode, kText, kUnknown, kEmpty };

  Kind kind = Kind::kWork;
  bool filled = false;    // the query's buffer gets its block before the failure
  std::int32_t code = 0;  // with kCode
  std::string text;       // with kText

  // Throws what a failing kind asks for; returns for kWork and kEmpty.
  void Raise() const;
};

// The outcomes of the four operations.
class FailureScript {
 public:
  // Reads the script in the last component of a path; a path without one lets everything work.
  // Throws std::invalid_argument, with the script and the reason, if it is malformed.
  static FailureScript OfPath(WideView path);

  const Outcome& For(Operation operation) const {
    return outcomes[static_cast<std::size_t>(operation)];
  }

 private:
  void AddStep(std::string_view step);

  std::array<Outcome, 4> outcomes;
};

}  // namespace larder::feed
