#pragma once

// printf into a std::string of the length that is needed. For protocol texts, paths and log arguments.

#include <string>

#include "util/PrintfFormat.h"

namespace util {

/// Empty when the C library rejects an argument. Throws std::bad_alloc only.
std::string Format(const char* format, ...) NORIX_PRINTF_FORMAT(1, 2);

}  // namespace util
