#pragma once

// The one rule by which every worker thread is waited for.

#include <cstdint>

namespace util {

inline constexpr uint32_t kStopWaitMs = 100;
inline constexpr int kStopAttempts = 50;

/// Waits kStopWaitMs for a thread that has been told to stop and, while it hasn't ended, up to kStopAttempts
/// times more, calling report(attempt) with 0, 1, 2... before each. wait(milliseconds) says whether the
/// thread has ended. Returns whether it has; if not, 5.1 seconds have gone by and the caller abandons the
/// thread.
template <class Wait, class Report>
bool AwaitExit(Wait&& wait, Report&& report) {
    if (wait(kStopWaitMs)) return true;
    for (int attempt = 0; attempt < kStopAttempts; ++attempt) {
        report(attempt);
        if (wait(kStopWaitMs)) return true;
    }
    return false;
}

}  // namespace util
