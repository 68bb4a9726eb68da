#include "tools/larder/completion/candidates.h"

#include <algorithm>
#include <utility>

namespace larder::tool {
namespace {

// What the words before the last one have led to.
struct Place {
  const CommandInfo* command;
  const ArgumentInfo* option = nullptr;  // the next word is its value
  std::size_t positionals = 0;
  bool isPlain = false;                 // after "--"
  std::vector<std::string> given = {};  // names of options
};

bool LooksLikeOption(const std::string& word) { return word.starts_with('-'); }

std::string NameIn(const std::string& word) { return word.substr(0, word.find('=')); }

bool HasName(const ArgumentInfo& option, const std::string& name) {
  return std::ranges::find(option.names, name) != option.names.end();
}

const ArgumentInfo* FindOption(const CommandInfo& command, const std::string& name) {
  const auto found = std::ranges::find_if(
      command.options, [&](const ArgumentInfo& option) { return HasName(option, name); });
  return found == command.options.end() ? nullptr : &*found;
}

void TakeOption(Place& place, const std::string& word) {
  const std::string name = NameIn(word);
  place.given.push_back(name);
  const ArgumentInfo* option = FindOption(*place.command, name);
  if (option != nullptr && !option->form.empty() && name == word) place.option = option;
}

void TakeArgument(Place& place, const std::string& word) {
  const auto& commands = place.command->commands;
  const auto command = std::ranges::find(commands, word, &CommandInfo::name);
  if (place.isPlain || command == commands.end()) {
    ++place.positionals;
  } else {
    place = {&*command};
  }
}

// Whether the word is the value of the option before it.
bool IsValue(const Place& place, const std::string& word) {
  if (place.option == nullptr) return false;
  const bool isOptional = place.option->form.starts_with('[');
  return !isOptional || !LooksLikeOption(word);
}

void Take(Place& place, const std::string& word) {
  const bool isValue = IsValue(place, word);
  place.option = nullptr;
  if (isValue) return;
  if (!place.isPlain && word == "--") {
    place.isPlain = true;
  } else if (!place.isPlain && LooksLikeOption(word)) {
    TakeOption(place, word);
  } else {
    TakeArgument(place, word);
  }
}

bool IsPath(const std::string& form) {
  return form == "FILE" || form == "DIR" || form == "[DIR]" || form == "MODULE";
}

Candidates Values(const ArgumentInfo& argument, const ValueSource& values) {
  Candidates result;
  result.arePaths = IsPath(argument.form);
  std::vector<std::string> texts = FixedWords(argument.form);
  if (texts.empty() && !result.arePaths) texts = values(argument.form);
  for (std::string& text : texts) result.words.push_back({std::move(text), {}});
  return result;
}

// Whether the option can still be given.
bool IsPossible(const ArgumentInfo& option, const Place& place) {
  return std::ranges::none_of(place.given, [&](const std::string& name) {
    const bool isRepetition = HasName(option, name) && !option.isRepeated;
    return isRepetition || std::ranges::find(option.excluded, name) != option.excluded.end();
  });
}

Candidates Options(const Place& place) {
  Candidates result;
  for (const ArgumentInfo& option : place.command->options) {
    if (IsPossible(option, place)) result.words.push_back({option.names.back(), option.help});
  }
  return result;
}

// "--option=value"
Candidates ValuesOfOption(const Place& place, const std::string& word, const ValueSource& values) {
  const std::string name = NameIn(word);
  const ArgumentInfo* option = FindOption(*place.command, name);
  if (option == nullptr || option->form.empty()) return {};
  Candidates result = Values(*option, values);
  for (Candidate& candidate : result.words) candidate.text.insert(0, name + "=");
  return result;
}

Candidates Commands(const CommandInfo& command) {
  Candidates result;
  for (const CommandInfo& each : command.commands) result.words.push_back({each.name, each.help});
  return result;
}

Candidates Arguments(const Place& place, const ValueSource& values) {
  const auto& positionals = place.command->positionals;
  if (place.positionals < positionals.size()) return Values(positionals[place.positionals], values);
  if (positionals.empty() || !positionals.back().isRepeated) return {};
  return Values(positionals.back(), values);
}

Candidates AllCandidates(const Place& place, const std::string& word, const ValueSource& values) {
  if (IsValue(place, word)) return Values(*place.option, values);
  if (!place.isPlain && LooksLikeOption(word)) {
    return NameIn(word) == word ? Options(place) : ValuesOfOption(place, word, values);
  }
  if (!place.isPlain && !place.command->commands.empty()) return Commands(*place.command);
  return Arguments(place, values);
}

}  // namespace

Candidates FindCandidates(const CommandInfo& program, const std::vector<std::string>& words,
                          const ValueSource& values) {
  if (words.empty()) return {};
  Place place{&program};
  std::for_each(words.begin(), words.end() - 1,
                [&](const std::string& word) { Take(place, word); });
  Candidates result = AllCandidates(place, words.back(), values);
  std::erase_if(result.words, [&](const Candidate& candidate) {
    return !candidate.text.starts_with(words.back());
  });
  return result;
}

}  // namespace larder::tool
