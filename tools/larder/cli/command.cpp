#include "tools/larder/cli/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "platform/wide.h"

namespace larder::tool {
namespace {

// For CLI11 "++" ends a subcommand, "[a,b]" is a list, and a word after "--" may still be parsed as
// an option. While the line is parsed, such words have this character in front.
constexpr char kShield = '\x01';

bool IsMisread(const std::string& argument) {
  if (argument.empty()) return false;
  return argument == "++" || argument.front() == kShield ||
         (argument.front() == '[' && argument.back() == ']');
}

// Removes "--".
std::vector<std::string> Shielded(const std::vector<std::string>& arguments) {
  std::vector<std::string> result;
  bool isPlain = false;
  for (const std::string& argument : arguments) {
    if (!isPlain && argument == "--") {
      isPlain = true;
    } else {
      result.push_back(isPlain || IsMisread(argument) ? kShield + argument : argument);
    }
  }
  return result;
}

std::string Unshielded(const std::string& argument) {
  return argument.starts_with(kShield) ? argument.substr(1) : argument;
}

std::string WithoutShields(std::string message) {
  message.erase(std::remove(message.begin(), message.end(), kShield), message.end());
  return message;
}

template <typename Text>
CLI::Option* AddText(CLI::App& app, const char* name, Text& value, const char* help) {
  return app.add_option_function<std::string>(
      name, [&value](const std::string& given) { value = Unshielded(given); }, help);
}

CLI::Option* AddTexts(CLI::App& app, const char* name, std::vector<std::string>& values,
                      const char* help) {
  const auto take = [&values](const std::vector<std::string>& given) {
    values.resize(given.size());
    std::transform(given.begin(), given.end(), values.begin(), &Unshielded);
  };
  return app.add_option_function<std::vector<std::string>>(name, take, help);
}

Action Printing(const std::string& text) {
  return [text](Output& output) {
    output.Write(text);
    return kExitOk;
  };
}

}  // namespace

Command Command::Requiring(void (*check)()) const {
  Command command = *this;
  command.requirement = check;
  return command;
}

Command Command::AddCommand(const char* name, const char* help) const {
  app->require_subcommand(0, 1);
  Command command = *this;
  command.app = app->add_subcommand(name, help);
  return command;
}

Command Command::AddHiddenCommand(const char* name, const char* help) const {
  const Command command = AddCommand(name, help);
  command.app->group("");
  return command;
}

void Command::AddFlag(const char* name, bool& isGiven, const char* help) const {
  app->add_flag(name, isGiven, help);
}

void Command::AddOption(const char* name, std::string& value, const char* help) const {
  AddText(*app, name, value, help);
}

void Command::AddOption(const char* name, std::optional<std::string>& value,
                        const char* help) const {
  AddText(*app, name, value, help);
}

void Command::AddOption(const char* name, const char* form, std::vector<std::string>& values,
                        const char* help) const {
  // One value each time.
  AddTexts(*app, name, values, help)->type_name(form)->allow_extra_args(false);
}

void Command::AddChoice(const char* name, std::string& value,
                        const std::vector<std::string>& choices, const char* help) const {
  AddText(*app, name, value, help)->check(CLI::IsMember(choices));
}

void Command::AddOptionOrFlag(const char* name, const char* form, std::optional<std::string>& value,
                              const char* help) const {
  AddText(*app, name, value, help)->type_name(form)->expected(0, 1);
}

void Command::AddRequired(const char* name, std::string& value, const char* help) const {
  AddText(*app, name, value, help)->required();
}

void Command::AddRequired(const char* name, std::vector<std::string>& values,
                          const char* help) const {
  AddTexts(*app, name, values, help)->required();
}

void Command::Exclude(const char* name, const char* other) const {
  app->get_option(name)->excludes(app->get_option(other));
}

void Command::OnChosen(const std::function<Action()>& check) const {
  app->callback([check, chosen = action, require = requirement] {
    *chosen = check();
    if (require != nullptr) require();
  });
}

CommandLine::CommandLine(const char* program, const char* help, const char* version)
    : app(std::make_unique<CLI::App>(help, program)) {
  app->allow_windows_style_options(false);  // "/dir/file" is a path on every system
  app->set_version_flag("--version", version);
}

CommandLine::~CommandLine() = default;

std::string CommandLine::Help() const { return app->help(); }

Action CommandLine::Parse(const std::vector<std::string>& arguments) {
  std::vector<std::string> shielded = Shielded(arguments);
  std::reverse(shielded.begin(), shielded.end());  // the parser reads them from the back
  try {
    app->parse(std::move(shielded));
  } catch (const CLI::CallForVersion& version) {
    return Printing(std::string(version.what()) + "\n");
  } catch (const CLI::Success&) {
    return Printing(app->help());
  } catch (const CLI::ParseError& error) {
    throw UsageError(WithoutShields(error.what()));
  }
  if (!action) throw UsageError("A command is missing");
  return action;
}

WideString WideArgument(const std::string& name, const std::string& argument) {
  WideString wide;
  if (!platform::WideFromUtf8(argument, wide)) throw UsageError(name, "not UTF-8: " + argument);
  return wide;
}

}  // namespace larder::tool
