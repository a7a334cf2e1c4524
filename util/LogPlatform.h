#pragma once

// What the log needs of the system. LogWin32.cpp is the product's; builds for the development machine
// have that of tests/support, through which tests see the lines.

#include <cstdint>
#include <string_view>

#include "util/LogLine.h"

namespace util::platform {

int CurrentThreadId() noexcept;

/// Appends a record to the log file; the line that finds the file closed opens it and is not written.
void WriteLogFile(const LogRecord& record) noexcept;

/// `line` is zero-terminated.
void WriteDebugger(const char* line) noexcept;
void WriteDebugger(const wchar_t* line) noexcept;

/// The calling thread's last system error, so that a log call leaves it as it was.
uint32_t LastError() noexcept;
void SetLastError(uint32_t error) noexcept;

}  // namespace util::platform
