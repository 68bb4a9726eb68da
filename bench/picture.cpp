#include <algorithm>
#include <iomanip>
#include <sstream>

#include "document.h"

namespace larder {
namespace {

// Pixels. A bar's room ends at kMaxShare times the must.
constexpr int kRow = 26;
constexpr int kTop = 40;
constexpr int kBars = 400;
constexpr int kMust = 220;
constexpr double kMaxShare = 1.5;
constexpr int kWidth = 900;

constexpr char kStyle[] =
    "<style>text{font:13px sans-serif;fill:#24292f}.bar{fill:#2f81f7}.missed{fill:#d1603d}"
    ".must{stroke:#24292f}.aim{stroke:#24292f;stroke-dasharray:3 2}"
    "@media(prefers-color-scheme:dark){text{fill:#e6edf3}.must,.aim{stroke:#e6edf3}}</style>\n";

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : std::string(1, c);
  return escaped;
}

double PlaceOf(double share) { return kBars + kMust * std::clamp(share, 0.0, kMaxShare); }

void Mark(std::ostream& out, const char* kind, double place, int top, int height) {
  out << "<line class=\"" << kind << "\" x1=\"" << place << "\" x2=\"" << place << "\" y1=\"" << top
      << "\" y2=\"" << top + height << "\"/>\n";
}

void DrawRow(std::ostream& out, const Result& result, int top) {
  const Row& row = *result.row;
  const double end = PlaceOf(ShareOfMust(row, *result.value));
  const bool isMissed = Verdict(result) == "missed";
  out << "<text x=\"" << kBars - 10 << "\" y=\"" << top + 14 << "\" text-anchor=\"end\">"
      << Escaped(row.measure) << "</text>\n<rect class=\"" << (isMissed ? "missed" : "bar")
      << "\" x=\"" << kBars << "\" y=\"" << top + 2 << "\" width=\"" << end - kBars
      << "\" height=\"14\"/>\n";
  Mark(out, "aim", PlaceOf(ShareOfMust(row, row.aim)), top, 18);
  out << "<text x=\"" << PlaceOf(kMaxShare) + 10 << "\" y=\"" << top + 14 << "\">"
      << FormatValue(row, *result.value) << "</text>\n";
}

}  // namespace

std::string MakePicture(const std::vector<Result>& results) {
  std::ostringstream rows;
  rows << std::fixed << std::setprecision(1);
  int top = kTop;
  for (const Result& result : results) {
    if (!result.value) continue;
    DrawRow(rows, result, top);
    top += kRow;
  }
  Mark(rows, "must", PlaceOf(1), kTop - 6, top - kTop);
  std::ostringstream picture;
  picture << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kWidth << "\" height=\"" << top
          << "\" viewBox=\"0 0 " << kWidth << ' ' << top << "\">\n"
          << kStyle << "<text x=\"" << kBars << "\" y=\"20\">shorter is better: solid line = must, "
          << "dashed = aim</text>\n"
          << rows.str() << "</svg>\n";
  return picture.str();
}

}  // namespace larder
