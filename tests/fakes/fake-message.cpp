#include "fakes/fake-message.h"

namespace larder {

WideString FakeSystemMessage;

WideString platform::SystemMessage(Code) { return FakeSystemMessage; }

}  // namespace larder
