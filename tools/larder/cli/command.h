// The tool's command line: commands, what each of them takes, and what is to be done. A command is
// a pair of files with one function that adds it to a line. Texts are UTF-8 throughout.
//
// CLI11, which parses the line, is command.cpp's business alone: its headers are slow to compile,
// and it gives some words a meaning of its own that is wrong here.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "tools/larder/cli/output.h"

namespace CLI {  // NOLINT(readability-identifier-naming): the parser's own
class App;
}

namespace larder::tool {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Does the work of a command once the whole command line has been accepted; gives the exit status.
// What failed has been told on standard error by then.
using Action = std::function<int(Output&)>;

// The command line can't be understood; what() says why.
class UsageError : public std::runtime_error {
 public:
  explicit UsageError(const std::string& message) : std::runtime_error(message) {}
  // name: of what was given wrongly.
  UsageError(const std::string& name, const std::string& reason)
      : UsageError(name + ": " + reason) {}
};

// A command while it is declared. Names that begin with "--" are those of options, others stand for
// what is given without one. All variables outlive the parsing, and stay as they are when nothing
// is given for them.
class Command {
 public:
  Command(CLI::App& parser, Action& chosenAction) : app(&parser), action(&chosenAction) {}

  // One of which at most one can be given behind this one's name.
  Command AddCommand(const char* name, const char* help) const;
  // The same, not listed by --help.
  Command AddHiddenCommand(const char* name, const char* help) const;

  void AddFlag(const char* name, bool& isGiven, const char* help) const;
  void AddOption(const char* name, std::string& value, const char* help) const;
  void AddOption(const char* name, std::optional<std::string>& value, const char* help) const;
  void AddChoice(const char* name, std::string& value, const std::vector<std::string>& choices,
                 const char* help) const;
  // Can be given without a value, which is an empty one then. form: of the value, for --help.
  void AddOptionOrFlag(const char* name, const char* form, std::optional<std::string>& value,
                       const char* help) const;
  void AddRequired(const char* name, std::string& value, const char* help) const;
  // One or more.
  void AddRequired(const char* name, std::vector<std::string>& values, const char* help) const;
  // Of flags and options that were added: not both.
  void Exclude(const char* name, const char* other) const;

  // check is called when the user has chosen the command: it throws UsageError for what can't be
  // taken, and gives what is to be done.
  void OnChosen(const std::function<Action()>& check) const;

 private:
  CLI::App* app;
  Action* action;
};

class CommandLine {
 public:
  // version: what --version prints.
  CommandLine(const char* program, const char* help, const char* version);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  Command Top() { return {*app, action}; }
  [[nodiscard]] std::string Help() const;
  // What is to be done. Throws UsageError. arguments: without the program's name.
  Action Parse(const std::vector<std::string>& arguments);

 private:
  std::unique_ptr<CLI::App> app;
  Action action;
};

// Throws UsageError, with the name of what was given, when the text is no UTF-8.
WideString WideArgument(const std::string& name, const std::string& argument);

}  // namespace larder::tool
