// The sections OPTIONS and COMMANDS of the manual page, in the macros of man(7). larder.1.in has
// the others.
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tools/larder/cli/commands.h"

namespace larder::tool {
namespace {

// Characters that the formatter would read or print as others.
std::string Escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '\\':
        result += "\\e";
        break;
      case '-':
        result += "\\-";
        break;
      case '\'':
        result += "\\(aq";
        break;
      default:
        result += c;
    }
  }
  // At the start of a line, a request.
  return result.starts_with('.') ? "\\&" + result : result;
}

std::string Bold(std::string_view text) { return "\\fB" + Escaped(text) + "\\fR"; }

std::string Italic(std::string_view text) { return "\\fI" + Escaped(text) + "\\fR"; }

std::string Sentence(const std::string& text) {
  return Escaped(text) + (text.ends_with('.') ? "" : ".") + "\n";
}

std::string FormText(const std::string& form) {
  return FixedWords(form).empty() ? Italic(form) : Bold(form);
}

bool IsOption(const std::string& name) { return name.starts_with('-'); }

std::string NameText(const std::string& name) { return IsOption(name) ? Bold(name) : Italic(name); }

std::string NamesText(const ArgumentInfo& argument) {
  std::string text;
  for (const std::string& name : argument.names) {
    text += (text.empty() ? "" : ", ") + NameText(name);
  }
  const bool hasForm = IsOption(argument.names.front()) && !argument.form.empty();
  return hasForm ? text + " " + FormText(argument.form) : text;
}

std::string ExclusionText(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "Not with " : " or ") + NameText(name);
  }
  return text.empty() ? text : text + ".\n";
}

std::string ArgumentText(const ArgumentInfo& argument) {
  std::string text = ".TP\n" + NamesText(argument) + "\n" + Sentence(argument.help);
  text += ExclusionText(argument.excluded);
  if (argument.isRepeated && IsOption(argument.names.front())) text += "May be repeated.\n";
  return text;
}

bool IsHelp(const ArgumentInfo& option) { return option.names.back() == "--help"; }

std::string Synopsis(const std::string& name, const CommandInfo& command) {
  std::string text = Bold(name);
  // Every command has --help.
  if (command.options.size() > 1) text += " [" + Italic("OPTION") + "...]";
  if (!command.commands.empty()) text += " " + Italic("COMMAND");
  for (const ArgumentInfo& argument : command.positionals) {
    const std::string form = Italic(argument.form) + (argument.isRepeated ? "..." : "");
    text += argument.isRequired ? " " + form : " [" + form + "]";
  }
  return text;
}

std::string Paragraphs(const std::string& details) {
  std::string text;
  std::istringstream lines("\n" + details);
  for (std::string line; std::getline(lines, line);) {
    text += line.empty() ? ".PP\n" : Escaped(line) + "\n";
  }
  return text;
}

std::string CommandText(const std::string& above, const CommandInfo& command) {
  const std::string name = above + command.name;
  std::string text = ".SS " + Synopsis(name, command) + "\n" + Sentence(command.help);
  if (!command.details.empty()) text += Paragraphs(command.details);
  for (const ArgumentInfo& argument : command.positionals) text += ArgumentText(argument);
  for (const ArgumentInfo& option : command.options) {
    if (!IsHelp(option)) text += ArgumentText(option);
  }
  for (const CommandInfo& each : command.commands) text += CommandText(name + " ", each);
  return text;
}

std::string ManualText(const CommandInfo& program) {
  std::string text = ".SH OPTIONS\n";
  for (const ArgumentInfo& option : program.options) text += ArgumentText(option);
  text += ".SH COMMANDS\n";
  for (const CommandInfo& command : program.commands) text += CommandText("", command);
  return text;
}

}  // namespace

void AddManualCommand(const Command& top) {
  top.AddHiddenCommand("print-manual", "Print sections of the manual page").OnChosen([top] {
    return [top](Output& output) {
      output.Write(ManualText(top.Info()));
      return kExitOk;
    };
  });
}

}  // namespace larder::tool
