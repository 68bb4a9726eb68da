#include "suite.h"

#include <vector>

namespace larder {
namespace {

std::vector<void (*)()> Ends;

}  // namespace

void AtEndOfGroup(void (*end)()) { Ends.push_back(end); }

void EndGroup() {
  while (!Ends.empty()) {
    Ends.back()();
    Ends.pop_back();
  }
}

}  // namespace larder
