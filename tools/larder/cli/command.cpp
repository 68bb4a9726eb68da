#include "tools/larder/cli/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "platform/wide.h"
#include "tools/larder/cli/text.h"

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

// Permits only the words of a form like "A|B".
CLI::Option* Check(CLI::Option* option, const std::string& form) {
  const std::vector<std::string> words = FixedWords(form);
  if (!words.empty()) option->check(CLI::IsMember(words).description(""));
  return option->type_name(form);
}

std::vector<std::string> NamesOf(const CLI::Option& option) {
  if (option.get_positional()) return {option.get_name()};
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

ArgumentInfo InfoOf(const CLI::Option& option) {
  ArgumentInfo info;
  info.names = NamesOf(option);
  const bool isFlag = option.get_expected_max() == 0;
  if (!isFlag) info.form = option.get_positional() ? option.get_name() : option.get_type_name();
  info.help = option.get_description();
  info.isRequired = option.get_required();
  info.isRepeated = option.get_expected_max() > 1;
  for (const CLI::Option* other : option.get_excludes()) {
    info.excluded.push_back(NamesOf(*other).front());
  }
  return info;
}

CommandInfo InfoOf(const CLI::App& app) {
  CommandInfo info;
  info.name = app.get_name();
  info.help = app.get_description();
  info.details = app.get_footer();
  for (const CLI::Option* option : app.get_options()) {
    (option->get_positional() ? info.positionals : info.options).push_back(InfoOf(*option));
  }
  for (const CLI::App* command : app.get_subcommands({})) {
    if (!command->get_group().empty()) info.commands.push_back(InfoOf(*command));
  }
  return info;
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
  command.app->footer("");  // not that of the command above
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

void Command::AddDetails(const char* text) const { app->footer(text); }

void Command::AddOption(const char* name, const char* form, std::string& value,
                        const char* help) const {
  Check(AddText(*app, name, value, help), form);
}

void Command::AddOption(const char* name, const char* form, std::optional<std::string>& value,
                        const char* help) const {
  Check(AddText(*app, name, value, help), form);
}

void Command::AddOption(const char* name, const char* form, std::vector<std::string>& values,
                        const char* help) const {
  // One value each time.
  Check(AddTexts(*app, name, values, help), form)->allow_extra_args(false);
}

void Command::AddOptionOrFlag(const char* name, const char* form, std::optional<std::string>& value,
                              const char* help) const {
  AddText(*app, name, value, help)->type_name(form)->expected(0, 1);
}

void Command::AddOptional(const char* name, std::optional<std::string>& value,
                          const char* help) const {
  AddText(*app, name, value, help)->type_name("");
}

void Command::AddRequired(const char* name, std::string& value, const char* help) const {
  AddText(*app, name, value, help)->type_name("")->required();
}

void Command::AddRequired(const char* name, std::vector<std::string>& values,
                          const char* help) const {
  AddTexts(*app, name, values, help)->type_name("")->required();
}

void Command::Exclude(const char* name, const char* other) const {
  app->get_option(name)->excludes(app->get_option(other));
}

CommandInfo Command::Info() const { return InfoOf(*app); }

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

UsageError NotANumber(const std::string& name, const std::string& range,
                      const std::string& argument) {
  return {name, "not a number " + range + ": " + (argument.empty() ? "\"\"" : argument)};
}

std::uint64_t NumberArgument(const std::string& name, const std::string& argument,
                             std::uint64_t least, std::uint64_t most) {
  const auto number = ParseUnsigned(argument, most);
  if (number && *number >= least) return *number;
  throw NotANumber(name, "from " + std::to_string(least) + " to " + std::to_string(most), argument);
}

WideString WideArgument(const std::string& name, const std::string& argument) {
  WideString wide;
  if (!platform::WideFromUtf8(argument, wide)) throw UsageError(name, "not UTF-8: " + argument);
  return wide;
}

}  // namespace larder::tool
