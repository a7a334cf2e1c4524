#pragma once

// Log lines take a va_list; tests and benchmarks have arguments.

#include <cstdarg>

#include "util/LogLine.h"

namespace util::test {

template <class Char>
void AppendText(LogLine<Char>& line, const Char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    line.Text(format, arguments);
    va_end(arguments);
}

}  // namespace util::test
