// The failures that a path requests. feed-test-provider.h has the grammar.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/wide.h"

namespace larder::feed {

enum class Operation { kGetKey, kQuery, kFreeQuery, kWrite };

// What one operation must do.
struct Outcome {
  enum class Kind { kWork, kCode, kText, kUnknown, kEmpty };

  Kind kind = Kind::kWork;
  bool filled = false;    // the query fills the buffer before it fails
  std::int32_t code = 0;  // with kCode
  std::string text;       // with kText

  // Throws the exception that the kind requires; returns if it is kWork or kEmpty.
  void Raise() const;
};

// The outcomes of the four operations.
class FailureScript {
 public:
  // Parses the script in the last component of a path; without one, all operations work. Throws
  // std::invalid_argument, with the script and the reason, if the script is malformed.
  static FailureScript OfPath(WideView path);

  const Outcome& For(Operation operation) const {
    return outcomes[static_cast<std::size_t>(operation)];
  }

 private:
  void AddStep(std::string_view step);

  std::array<Outcome, 4> outcomes;
};

}  // namespace larder::feed
