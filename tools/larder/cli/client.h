// The library as its clients use it, through its exports only.
#pragma once

#include <larder/larder.h>

#include <string>

namespace larder::tool {

// Calls LarderInit. If that fails, prints the reason on standard error and returns false; with the
// log switched on, it waits up to two seconds first, so that the log of the attempt reaches the
// disk.
[[nodiscard]] bool StartLibrary(LarderNotifyCallback callback, LarderHandle& handle);

// Calls LarderRelease, once for each successful StartLibrary. If that fails, prints the reason and
// returns false.
[[nodiscard]] bool EndLibrary();

// A result code for messages: its text and number, or "code <number>" if it has no text. UTF-8.
std::string ResultReason(int result);

}  // namespace larder::tool
