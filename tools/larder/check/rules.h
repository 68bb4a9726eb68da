// The rules of the provider contract that "larder check" tries. docs/provider-guide.md has the same
// numbers and texts, and says what happens when a rule is broken.
#pragma once

#include <span>

namespace larder::tool {

// The values are the numbers.
enum class Rule {
  kSymbols = 1,
  kLoading,
  kExports,
  kRuntime,
  kGetProvider,
  kGetType,
  kQuery,
  kExceptions,
  kDataSize,
  kProviderType,
  kMemory,
  kFreeQuery,
  kWrite,
  kConcurrency,
  kLeaks,
  kDestructor,
  kThreads,
  kUnloading,
};

struct RuleEntry {
  Rule rule;
  const char* name;  // one word
  const char* text;
};

// In the order of their numbers, which begin at 1 and have no gaps.
[[nodiscard]] std::span<const RuleEntry> AllRules();

}  // namespace larder::tool
