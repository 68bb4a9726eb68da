// What may come next on a command line that a user is typing.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/larder/cli/command-info.h"

namespace larder::tool {

struct Candidate {
  std::string text;
  std::string help;  // one line; may be empty
};

struct Candidates {
  bool arePaths = false;         // of files and folders; the shell knows them
  std::vector<Candidate> words;  // what the last word may become, if not
};

// The values that an argument of this form may have ("SUBKEY"); none if that isn't known.
using ValueSource = std::function<std::vector<std::string>(const std::string& form)>;

// words: those after the program's name. The last one, which may be empty, is to be completed.
Candidates FindCandidates(const CommandInfo& program, const std::vector<std::string>& words,
                          const ValueSource& values);

}  // namespace larder::tool
