#pragma once

// The event loop and the environment as they come with the library.

#include "live/env/BasicTaskScheduler.h"
#include "live/env/BasicUsageEnvironment.h"
