// Stands in for the system's message table: every code has the text that the test has set.
#pragma once

#include "platform/message.h"

namespace larder {

extern WideString FakeSystemMessage;

}  // namespace larder
