// The single things that the tool can take away, and which it may.
#pragma once

#include <optional>
#include <string>

#include "platform/wide.h"

namespace larder::tool {

class Removal {
 public:
  enum class Kind { kProgram, kData, kRegistry };

  // Looks at the machine as it is now.
  explicit Removal(Kind kind);

  // Why it can't be taken away, whoever asks; empty if it can. named: the program directory as the
  // user spelled it; without it the default directory alone is allowed.
  std::string Obstacle(const std::optional<WideString>& named) const;

  // For a person: the directory's path, or the key's.
  std::string Label() const;

  // Whether there is nothing (left) of it.
  bool IsGone() const;

  // Deletes it for good, and the maker's directory or key if that is empty then. Failures are told
  // by the routines' log lines. Throws std::runtime_error, and deletes nothing, if it isn't any
  // more what it was when this object was made.
  void Run() const;

 private:
  Kind kind;
  WideString path;  // of the directory, or of the key
};

}  // namespace larder::tool
