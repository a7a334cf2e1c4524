#pragma once

#include <cstdint>

namespace norix {

/// Pictures per second as a fraction, in the terms of an AVI stream header: rate / scale.
struct FrameRate {
    std::uint32_t rate = 30;
    std::uint32_t scale = 1;

    double PerSecond() const { return static_cast<double>(rate) / scale; }
    /// From one picture to the next, in milliseconds.
    double IntervalMs() const { return 1000.0 * scale / rate; }
    bool operator==(const FrameRate&) const = default;
};

/// The rate at which so many pictures last so long; both at least 1. Fits signed 32-bit fields.
FrameRate RateOf(std::uint64_t pictures, std::uint64_t milliseconds);

/// The rate that cameras offer and that lies within 0.3 % of this interval, else the interval itself.
FrameRate NearestRate(double intervalMs);

}  // namespace norix
