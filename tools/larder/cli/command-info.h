// What a command line can have. The manual page and the completion in shells are made of it. All
// text is UTF-8.
#pragma once

#include <string>
#include <vector>

namespace larder::tool {

struct ArgumentInfo {
  std::vector<std::string> names;  // of an option, with dashes; of a positional argument, its one
  std::string form;                // of the value (see Command); empty for a flag
  std::string help;
  bool isRequired = false;
  bool isRepeated = false;
  std::vector<std::string> excluded;  // first names of the options that can't be given, too
};

struct CommandInfo {
  std::string name;
  std::string help;
  std::string details;  // paragraphs, separated by empty lines; may be empty
  std::vector<ArgumentInfo> options;
  std::vector<ArgumentInfo> positionals;
  std::vector<CommandInfo> commands;
};

// The words of a form like "A|B"; none if the form permits others.
std::vector<std::string> FixedWords(const std::string& form);

}  // namespace larder::tool
