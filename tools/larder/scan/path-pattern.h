// Patterns of paths below a folder.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace larder::tool {

// In a pattern '*' stands for any characters, '?' for one, and '[...]' for one of a set: "[abc]",
// "[a-z]"; "[!a-z]" or "[^a-z]" for all others. None of them stands for a separator: '/', or on
// Windows also '\'. A pattern without a separator is compared with names, any other with whole
// paths: "/a" and "./a" are the path "a". Separators at the end are ignored. On Windows case
// doesn't matter.
class PathPattern {
 public:
  // Throws std::invalid_argument with the reason if the pattern can't match any path.
  explicit PathPattern(const std::string& pattern);

  // path: relative to the folder where the pattern applies. UTF-8; any other byte is a character.
  [[nodiscard]] bool Matches(std::string_view path) const;

 private:
  struct Element {
    enum class Kind { kCharacter, kAny, kRun, kSet };
    Kind kind = Kind::kCharacter;
    bool isNegative = false;
    // The character, or what is in the set. In UTF-8, strings are ordered as characters are.
    std::vector<std::pair<std::string, std::string>> ranges;

    [[nodiscard]] bool Has(std::string_view character) const;
  };
  using NamePattern = std::vector<Element>;

  static NamePattern Parse(std::string_view text);
  static Element ParseSet(std::string_view& text);
  static bool MatchesName(const NamePattern& pattern, std::string_view name);

  std::vector<NamePattern> names;  // of a path
  bool isPath = false;
};

}  // namespace larder::tool
