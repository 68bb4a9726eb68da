#include "tools/larder/cli/command-info.h"

#include <sstream>

namespace larder::tool {

std::vector<std::string> FixedWords(const std::string& form) {
  std::vector<std::string> words;
  if (form.find('|') == std::string::npos) return words;
  std::istringstream text(form);
  for (std::string word; std::getline(text, word, '|');) words.push_back(word);
  return words;
}

}  // namespace larder::tool
