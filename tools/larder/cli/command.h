// The tool's command line: its commands with their arguments, and the action that a line asks for.
// All text is UTF-8.
//
// Only command.cpp includes CLI11, which parses the line: its headers are slow to compile, and it
// gives some words a special meaning that doesn't fit here.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/wide.h"
#include "tools/larder/cli/command-info.h"
#include "tools/larder/cli/output.h"

namespace CLI {  // NOLINT(readability-identifier-naming): the parser's own
class App;
}

namespace larder::tool {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Runs a command after the whole command line has been accepted. Returns the exit status; by then,
// failures have been printed on standard error.
using Action = std::function<int(Output&)>;

// The command line is invalid; what() says why.
class UsageError : public std::runtime_error {
 public:
  explicit UsageError(const std::string& message) : std::runtime_error(message) {}
  // name: of the invalid option or argument.
  UsageError(const std::string& name, const std::string& reason)
      : UsageError(name + ": " + reason) {}
};

// Declares a command. The name of an option begins with "-", that of a positional argument doesn't.
// The form of an option's value is what the help shows for it: "N"; "FILE", "DIR" and "MODULE" are
// paths; "A|B" permits these two words only. The variables must outlive the parsing. They keep
// their values if the user gives none.
class Command {
 public:
  Command(CLI::App& parser, Action& chosenAction) : app(&parser), action(&chosenAction) {}

  // The same command. Commands that are added to it call check when they are chosen, after
  // their arguments have been accepted; it throws if they can't succeed.
  [[nodiscard]] Command Requiring(void (*check)()) const;

  // A subcommand. At most one can be given.
  Command AddCommand(const char* name, const char* help) const;
  // The same, not listed by --help.
  Command AddHiddenCommand(const char* name, const char* help) const;
  // What --help says after the options. Empty lines separate paragraphs.
  void AddDetails(const char* text) const;

  void AddFlag(const char* name, bool& isGiven, const char* help) const;
  void AddOption(const char* name, const char* form, std::string& value, const char* help) const;
  void AddOption(const char* name, const char* form, std::optional<std::string>& value,
                 const char* help) const;
  // An option that may be repeated.
  void AddOption(const char* name, const char* form, std::vector<std::string>& values,
                 const char* help) const;
  // An option whose value may be omitted, and is empty then. form: in brackets.
  void AddOptionOrFlag(const char* name, const char* form, std::optional<std::string>& value,
                       const char* help) const;
  void AddOptional(const char* name, std::optional<std::string>& value, const char* help) const;
  void AddRequired(const char* name, std::string& value, const char* help) const;
  // One or more.
  void AddRequired(const char* name, std::vector<std::string>& values, const char* help) const;
  // Two flags or options that have been added can't be given together.
  void Exclude(const char* name, const char* other) const;

  // What has been declared so far. Leaves out hidden commands.
  [[nodiscard]] CommandInfo Info() const;

  // check is called if the line has this command. It validates the arguments, throwing UsageError,
  // and returns the action.
  void OnChosen(const std::function<Action()>& check) const;

 private:
  CLI::App* app;
  Action* action;
  void (*requirement)() = nullptr;
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
  // Returns the action. Throws UsageError. arguments: without the program's name.
  Action Parse(const std::vector<std::string>& arguments);

 private:
  std::unique_ptr<CLI::App> app;
  Action action;
};

// "NAME: not a number RANGE: ARGUMENT"
UsageError NotANumber(const std::string& name, const std::string& range,
                      const std::string& argument);

// The number of ParseUnsigned. Throws UsageError with the argument's name and the range if the text
// is none.
std::uint64_t NumberArgument(const std::string& name, const std::string& argument,
                             std::uint64_t least, std::uint64_t most);

// Throws UsageError with the argument's name if it isn't UTF-8.
WideString WideArgument(const std::string& name, const std::string& argument);

}  // namespace larder::tool
