#include "util/Format.h"

#include <cstdarg>
#include <cstdio>

namespace util {

std::string Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length <= 0) return {};

    std::string text(static_cast<size_t>(length), '\0');
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    return text;
}

}  // namespace util
