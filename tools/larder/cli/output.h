// Standard output that remembers whether all of it arrived. One thread.
#pragma once

#include <string_view>

namespace larder::tool {

class Output {
 public:
  // UTF-8. Does nothing once a write has failed.
  void Write(std::string_view text);

  // Whether a write has failed so far: whoever still has much to write may stop.
  [[nodiscard]] bool Failed() const { return error != 0; }

  // Passes on what is still held back.
  void Flush();

  // The same at the end. False, with the reason told on standard error, when this or
  // an earlier write failed.
  [[nodiscard]] bool Finish();

 private:
  int error = 0;  // the first failure's errno
};

}  // namespace larder::tool
