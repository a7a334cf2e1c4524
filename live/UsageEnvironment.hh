#pragma once

// The environment that everything of the library lives in: the event loop and the result of the last
// operation.

#include "live/env/UsageEnvironment.h"
