// The platform group "message", replaced by one in which every code has the text that a test sets.
#pragma once

#include "platform/message.h"

namespace larder {

extern WideString FakeSystemMessage;

}  // namespace larder
