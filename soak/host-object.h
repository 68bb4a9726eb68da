// What the runs of the library and their provider modules exchange.
#pragma once

#include <larder/records.h>

#include <cstdint>

namespace larder::soak {

// Where a provider fails, and how.
enum class FailAt : std::int32_t { kNever, kGetKey, kQuery, kFilledQuery, kFreeQuery, kWrite };
enum class FailHow : std::int32_t { kCode, kText, kUnknown, kCount };

inline constexpr int kFailureCode = -1234;

// The object descriptor.
struct SoakObject {
  std::uint64_t number = 0;  // becomes the key, which the log shows
  FailAt at = FailAt::kNever;
  FailHow how = FailHow::kCode;
};

// The block of an object.
struct SoakBlock {
  DataBlockHeader header{};
  SoakObject object;
};

// If set, the module of a type fails when it is loaded: "TYPE FAULT", where FAULT is one of
// kLoadFaults.
inline constexpr char kLoadFaultVariable[] = "LARDER_SOAK_LOAD_FAULT";
inline constexpr const char* kLoadFaults[] = {"throws", "bad-type", "other-type"};

}  // namespace larder::soak
