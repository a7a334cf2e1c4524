#pragma once

#include <cstdint>

#include "media/MediaSettings.h"

namespace norix {

// Watches the distance between the time stamps of received frames, for the log. One watch for the process:
// all connections' frames follow each other in it.

/// Pure: whether the step from `last` to `pts` deserves a log line. A range equal to the target counts as 0,
/// and with a range of 0 every step does.
struct PtsVerdict {
    bool report = false;
    std::uint32_t difference = 0;
    std::int64_t low = 0;
    std::int64_t high = 0;
};
PtsVerdict JudgePtsStep(std::uint32_t pts, std::uint32_t last, const PtsSettings& settings);

/// Logs the step from the previous call's time stamp, reading its settings anew. Any thread.
void ShowPTSDiff(std::uint32_t pts, int frameRate);

}  // namespace norix
