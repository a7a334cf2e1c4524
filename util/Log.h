#pragma once

// The process-wide debug log: every module traces through it.
//
// A line goes to the system debugger output and, when the file switch is on, as one record to the log file
// (see LogFile.h). The log is off unless the machine-wide settings enable it (see LogSetup.h).
//
//     NORIX_LOG("CNorixSDKCtrl::Connect", 0, "CNorixSDKCtrl::Connect(%s) begins", address.c_str());
//     NORIX_LOGW(L"CDecoder::Open", 1, L"device %ls", name.c_str());
//
// Cost: with both switches off a call is two integer tests. THE ARGUMENTS ARE NOT EVALUATED THEN, so they
// must not have effects that the program needs, and an expensive argument costs nothing while the log is off.
//
// Texts: the format is always a literal of ours; a text from a host or a camera is only ever an argument to
// it. Such texts are logged as they came, line breaks included: a record of the file is length-prefixed, so
// no text can forge one there, but a reader of the debugger output may see one line as several. In wide
// formats write %ls for wide and %hs for narrow arguments; both mean the same to every C library.
//
// Secrets: wrap whatever may hold a password (URLs, query strings, headers, camera replies) in
// RedactSecrets() of Redact.h:
//
//     NORIX_LOG("RTSPCoumm::OpenUrl", 0, "url = %s", util::RedactSecrets(url).c_str());
//
// Threads: everything here may be called from any thread.
// Errors: nothing throws; a line that cannot be written is dropped. GetLastError() survives a call.

#include <atomic>
#include <cstdint>

#include "util/PrintfFormat.h"

namespace util {

/// One diagnostic switch: a plain 32-bit integer, written by the window thread, read by every thread,
/// ordering nothing. Non-zero is on.
class LogSwitch {
  public:
    constexpr explicit LogSwitch(int32_t value) noexcept : m_value(value) {}
    void Set(int32_t value) noexcept { m_value.store(value, std::memory_order_relaxed); }
    int32_t Get() const noexcept { return m_value.load(std::memory_order_relaxed); }
    explicit operator bool() const noexcept { return Get() != 0; }

  private:
    std::atomic<int32_t> m_value;
};

/// The switches with their values until the settings are read.
struct LogSwitches {
    LogSwitch output{0};         // lines are produced
    LogSwitch file{0};           // lines are also written to the log file
    LogSwitch threadId{1};       // each line carries the calling thread's id
    LogSwitch fps{0};            // once-a-second frame rates
    LogSwitch ptsDiff{0};        // timestamp differences of received frames
    LogSwitch frameTimeInfo{0};  // per-frame timing
    LogSwitch timeSync{0};       // display and audio clocks
    LogSwitch timeDiff{1};       // scope timing (CTimeDiff)
};

inline constinit LogSwitches g_logSwitches;

inline LogSwitches& Switches() noexcept {
    return g_logSwitches;
}

inline bool LogEnabled() noexcept {
    return g_logSwitches.output || g_logSwitches.file;
}

/// The entry points behind the macros. Of `file` only what follows the last slash or backslash is printed;
/// `function` is a class-and-method text such as "CNorixSDKCtrl::OnTimer"; a non-zero `location` appends
/// both.
void Log(const char* file, int line, const char* function, unsigned char location, const char* format,
         ...) noexcept NORIX_PRINTF_FORMAT(5, 6);
void Log(const wchar_t* file, int line, const wchar_t* function, unsigned char location,
         const wchar_t* format, ...) noexcept;

inline constexpr wchar_t kDefaultLogFilePath[] = L"D:\\NorixSDK.log";

/// Closes the log file if one is open and starts the file at `path` anew (empty); nullptr means the default.
/// When the file can't be opened each following line tries again.
void OpenLogFile(const wchar_t* path) noexcept;

/// Ends logging: clears the output and file switches and closes the file. For the module's last step, when no
/// other thread of ours runs any more; nothing is left to the module's static destructors.
void CloseLogFile() noexcept;

}  // namespace util

#define NORIX_LOG(function, location, ...)                                        \
    do {                                                                          \
        if (::util::LogEnabled()) {                                               \
            ::util::Log(__FILE__, __LINE__, (function), (location), __VA_ARGS__); \
        }                                                                         \
    } while (0)

#define NORIX_WIDEN_LITERAL(text) L##text
#define NORIX_WIDEN(text) NORIX_WIDEN_LITERAL(text)

#define NORIX_LOGW(function, location, ...)                                                    \
    do {                                                                                       \
        if (::util::LogEnabled()) {                                                            \
            ::util::Log(NORIX_WIDEN(__FILE__), __LINE__, (function), (location), __VA_ARGS__); \
        }                                                                                      \
    } while (0)
