#include "util/Log.h"

#include <cstdarg>

#include "util/LogLine.h"
#include "util/LogPlatform.h"

namespace util {
namespace {

template <class Char>
void Write(const Char* file, int line, const Char* function, unsigned char location, const Char* format,
           va_list arguments) noexcept {
    if (!LogEnabled()) return;
    const uint32_t lastError = platform::LastError();
    LogLine<Char> text;
    if (g_logSwitches.threadId) {
        text.Begin(platform::CurrentThreadId());
    } else {
        text.Begin();
    }
    text.Text(format, arguments);
    if (location) text.Location(file, line, function);
    text.End();
    if (g_logSwitches.file) platform::WriteLogFile(LogRecord(text.Str()));
    platform::WriteDebugger(text.CStr());
    platform::SetLastError(lastError);
}

}  // namespace

void Log(const char* file, int line, const char* function, unsigned char location, const char* format,
         ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    Write(file, line, function, location, format, arguments);
    va_end(arguments);
}

void Log(const wchar_t* file, int line, const wchar_t* function, unsigned char location,
         const wchar_t* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    Write(file, line, function, location, format, arguments);
    va_end(arguments);
}

}  // namespace util
