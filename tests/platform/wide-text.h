#pragma once

#include "platform/machine-fixture.h"
