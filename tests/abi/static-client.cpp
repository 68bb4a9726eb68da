// A client whose static object has a handle for as long as the module is loaded, and another one
// before that.
#include <larder/larder.h>

#include <cstdint>

namespace {

void Ignore(std::int32_t) {}

class Session {
 public:
  Session() {
    Init();
    LarderRelease();
    Init();
  }
  ~Session() { LarderRelease(); }

 private:
  static void Init() {
    LarderHandle handle = nullptr;
    LarderInit(Ignore, &handle);
  }
};

const Session TheSession;

}  // namespace
