#include "document.h"

#include <fstream>
#include <stdexcept>

#include "testing/files.h"

namespace larder {
namespace {

constexpr char kPage[] = "docs/benchmarks.md";
constexpr char kPicture[] = "docs/benchmarks.svg";
constexpr std::string_view kBegin = "<!-- ./dev bench --write replaces what follows -->\n";
constexpr std::string_view kEnd = "<!-- until here -->\n";

void Write(const char* path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error(std::string(path) + " can't be written");
}

}  // namespace

void WriteDocument(const std::vector<Result>& results, const std::string& machine) {
  std::string page = ContentOf(kPage);
  const std::size_t begin = page.find(kBegin);
  const std::size_t end = page.find(kEnd);
  if (begin == page.npos || end == page.npos || end < begin) {
    throw std::runtime_error(std::string(kPage) + " doesn't have the two markers");
  }
  page.replace(begin + kBegin.size(), end - begin - kBegin.size(),
               machine + "\n\n" + MakeTable(results));
  Write(kPage, page);
  Write(kPicture, MakePicture(results));
}

}  // namespace larder
