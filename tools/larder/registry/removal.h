// What the tool can delete from the machine, and whether it may.
#pragma once

#include <optional>
#include <string>

#include "platform/wide.h"

namespace larder::tool {

class Removal {
 public:
  enum class Kind { kProgram, kData, kRegistry };

  // Reads the paths from the machine's present configuration.
  explicit Removal(Kind kind);

  // Why it must not be deleted; empty if it may. named: the program directory as the user spelled
  // it; without it, only the default directory is allowed.
  std::string Obstacle(const std::optional<WideString>& named) const;

  // For messages: what it is, and its path.
  std::string Label() const;

  // Whether it doesn't exist, or no longer.
  bool IsGone() const;

  // Deletes it permanently, and the maker's directory or key if that is empty then. Failures are
  // reported by the log lines of the library's routines. Throws std::runtime_error and deletes
  // nothing if the configuration has changed since the construction.
  void Run() const;

 private:
  Kind kind;
  WideString path;  // of the directory, or of the key
};

}  // namespace larder::tool
