// Matching of patterns in which some elements stand for any text.
#pragma once

#include <cstddef>

namespace larder::platform {

// Whether a text of textSize units matches a pattern of patternSize elements.
//
//   isRun(p)      whether element p stands for any text, the empty one included
//   take(p, n)    the number of units, from n on, for which any other element p stands; 0 if it
//                 doesn't match them
//   length(n)     the number of units of the character that begins at n
//
// n is less than textSize. The time is at most proportional to the product of the sizes.
template <typename IsRun, typename Take, typename Length>
bool MatchesWildcards(std::size_t patternSize, std::size_t textSize, IsRun isRun, Take take,
                      Length length) {
  std::size_t p = 0;
  std::size_t n = 0;
  std::size_t afterRun = 0;  // the element behind the last run; 0 if there was none
  std::size_t runEnd = 0;    // the end of what that run stands for
  while (n < textSize || p < patternSize) {
    if (p < patternSize && isRun(p)) {
      afterRun = ++p;
      runEnd = n;
      continue;
    }
    const std::size_t taken = p < patternSize && n < textSize ? take(p, n) : 0;
    if (taken != 0) {
      ++p;
      n += taken;
    } else if (afterRun != 0 && n < textSize) {  // only the last run is retried
      runEnd += length(runEnd);
      p = afterRun;
      n = runEnd;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace larder::platform
