#include "tools/larder/scan/path-pattern.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "platform/path.h"
#include "platform/wide.h"
#include "platform/wildcard.h"
#include "tools/larder/cli/path.h"

namespace larder::tool {
namespace {

// Case doesn't distinguish names on some systems.
std::string Folded(std::string_view text) {
  WideString wide;
  if (!platform::WideFromUtf8(text, wide)) return std::string(text);
  WideString memory;
  return platform::Utf8FromWide(platform::FoldCase(wide, memory));
}

// Removes the part in front of the first separator, and the separator.
std::string_view TakePart(std::string_view& path, std::string_view separators) {
  const std::string_view part = path.substr(0, path.find_first_of(separators));
  path.remove_prefix(std::min(part.size() + 1, path.size()));
  return part;
}

// The number of bytes of the first character. A byte that isn't part of UTF-8 is a character.
std::size_t LengthOfFirst(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t length = first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length > text.size()) return 1;
  const std::string_view rest = text.substr(1, length - 1);
  const auto isInner = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  return std::all_of(rest.begin(), rest.end(), isInner) ? length : 1;
}

std::string TakeCharacter(std::string_view& text) {
  const std::size_t length = LengthOfFirst(text);
  std::string character(text.substr(0, length));
  text.remove_prefix(length);
  return character;
}

}  // namespace

PathPattern::PathPattern(const std::string& pattern) {
  const std::string separators{'/', Separator()};
  std::string folded = Folded(pattern);
  while (!folded.empty() && separators.find(folded.back()) != std::string::npos) folded.pop_back();
  isPath = folded.find_first_of(separators) != std::string::npos;
  for (std::string_view rest = folded; !rest.empty();) {
    const std::string_view part = TakePart(rest, separators);
    if (part == "..") throw std::invalid_argument("no \"..\" is below a folder");
    if (!part.empty() && part != ".") names.push_back(Parse(part));
  }
  if (names.empty()) throw std::invalid_argument("it has no name");
}

PathPattern::NamePattern PathPattern::Parse(std::string_view text) {
  NamePattern elements;
  while (!text.empty()) {
    Element element;
    const std::string character = TakeCharacter(text);
    if (character == "*") {
      element.kind = Element::Kind::kRun;
    } else if (character == "?") {
      element.kind = Element::Kind::kAny;
    } else if (character == "[") {
      element = ParseSet(text);
    } else {
      element.ranges.emplace_back(character, character);
    }
    elements.push_back(std::move(element));
  }
  return elements;
}

// text: behind the "[". A "]" in front of everything else is in the set.
PathPattern::Element PathPattern::ParseSet(std::string_view& text) {
  Element set;
  set.kind = Element::Kind::kSet;
  set.isNegative = text.starts_with('!') || text.starts_with('^');
  if (set.isNegative) text.remove_prefix(1);
  while (!text.empty() && (set.ranges.empty() || text.front() != ']')) {
    const std::string first = TakeCharacter(text);
    const bool isRange = text.size() >= 2 && text[0] == '-' && text[1] != ']';
    if (isRange) text.remove_prefix(1);
    set.ranges.emplace_back(first, isRange ? TakeCharacter(text) : first);
  }
  if (text.empty()) throw std::invalid_argument("a \"[\" has no \"]\" in the same name");
  text.remove_prefix(1);
  return set;
}

bool PathPattern::Element::Has(std::string_view character) const {
  if (kind == Kind::kAny) return true;
  const auto isIn = [&](const auto& range) {
    return range.first <= character && character <= range.second;
  };
  return std::any_of(ranges.begin(), ranges.end(), isIn) != isNegative;
}

bool PathPattern::MatchesName(const NamePattern& pattern, std::string_view name) {
  const auto length = [&](std::size_t n) { return LengthOfFirst(name.substr(n)); };
  return platform::MatchesWildcards(
      pattern.size(), name.size(),
      [&](std::size_t p) { return pattern[p].kind == Element::Kind::kRun; },
      [&](std::size_t p, std::size_t n) -> std::size_t {
        const std::size_t size = length(n);
        return pattern[p].Has(name.substr(n, size)) ? size : 0;
      },
      length);
}

bool PathPattern::Matches(std::string_view path) const {
  const char separator = Separator();
  const std::string folded = Folded(path);
  std::string_view rest = folded;
  if (!isPath) return MatchesName(names.front(), rest.substr(rest.rfind(separator) + 1));
  for (const NamePattern& name : names) {
    if (rest.empty() || !MatchesName(name, TakePart(rest, {&separator, 1}))) return false;
  }
  return rest.empty();
}

}  // namespace larder::tool
