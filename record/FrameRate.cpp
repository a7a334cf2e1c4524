#include "record/FrameRate.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace norix {

FrameRate RateOf(std::uint64_t pictures, std::uint64_t milliseconds) {
    constexpr std::uint64_t kFieldMax = 0x7FFFFFFF;
    std::uint64_t rate = std::max<std::uint64_t>(pictures, 1) * 1000;
    std::uint64_t scale = std::max<std::uint64_t>(milliseconds, 1);
    const std::uint64_t common = std::gcd(rate, scale);
    rate /= common;
    scale /= common;
    while (rate > kFieldMax || scale > kFieldMax) {
        rate = std::max<std::uint64_t>(rate / 2, 1);
        scale = std::max<std::uint64_t>(scale / 2, 1);
    }
    return {static_cast<std::uint32_t>(rate), static_cast<std::uint32_t>(scale)};
}

FrameRate NearestRate(double intervalMs) {
    static constexpr FrameRate kUsual[] = {{60, 1}, {50, 1}, {30, 1}, {25, 1}, {20, 1}, {15, 1},
                                           {25, 2}, {12, 1}, {10, 1}, {15, 2}, {8, 1},  {6, 1},
                                           {5, 1},  {4, 1},  {3, 1},  {2, 1},  {1, 1}};
    constexpr double kNear = 0.003;
    for (const FrameRate& usual : kUsual) {
        if (std::abs(usual.IntervalMs() - intervalMs) <= kNear * usual.IntervalMs()) return usual;
    }
    constexpr double kShortestMs = 1;
    constexpr double kLongestMs = 1e6;
    constexpr std::uint32_t kMicrosecond = 1000000;
    const double interval = std::clamp(intervalMs, kShortestMs, kLongestMs);
    return {kMicrosecond, static_cast<std::uint32_t>(std::lround(interval * 1000))};
}

}  // namespace norix
