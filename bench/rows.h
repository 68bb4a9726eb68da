// The rows of the table: what is measured, beside what, and what is wanted.
#pragma once

#include <span>
#include <string_view>

namespace larder {

enum class Kind {
  kTimes,   // ours divided by the peer's; smaller is better
  kSpeed,   // the peer's divided by ours; larger is better
  kMore,    // ours less the peer's; smaller is better
  kFigure,  // ours; smaller is better. A peer is shown, but isn't part of the result
};

enum class Unit { kNanoseconds, kBytes };

struct Row {
  std::string_view subject;  // rows of one subject follow each other and run as one group
  std::string_view measure;
  std::string_view ours;      // name of a benchmark, with its argument: "InitAndRelease/3"
  std::string_view peer;      // the same; empty: none
  std::string_view peerText;  // what the peer is
  Kind kind;
  Unit unit;  // of ours and the peer's
  double must;
  double aim;
};

std::span<const Row> Rows();

}  // namespace larder
