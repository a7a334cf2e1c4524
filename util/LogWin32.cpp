#include <windows.h>

#include "util/Log.h"
#include "util/LogFile.h"
#include "util/LogPlatform.h"

namespace util {
namespace {

constinit LogFile g_logFile;

}  // namespace

void OpenLogFile(const wchar_t* path) noexcept {
    g_logFile.Open(path);
}

void CloseLogFile() noexcept {
    g_logSwitches.output.Set(0);
    g_logSwitches.file.Set(0);
    g_logFile.Close();
}

namespace platform {

int CurrentThreadId() noexcept {
    return static_cast<int>(GetCurrentThreadId());
}

void WriteLogFile(const LogRecord& record) noexcept {
    g_logFile.Write(record);
}

void WriteDebugger(const char* line) noexcept {
    OutputDebugStringA(line);
}
void WriteDebugger(const wchar_t* line) noexcept {
    OutputDebugStringW(line);
}

uint32_t LastError() noexcept {
    return ::GetLastError();
}
void SetLastError(uint32_t error) noexcept {
    ::SetLastError(error);
}

}  // namespace platform
}  // namespace util
