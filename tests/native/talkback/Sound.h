#pragma once

// Tones, and what became of them.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <span>
#include <vector>

namespace norix::test {

using Samples = std::vector<std::int16_t>;

inline Samples Tone(double frequency, std::uint32_t rate, double seconds, double peak) {
    Samples samples(static_cast<std::size_t>(seconds * rate));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        samples[i] = static_cast<std::int16_t>(std::lround(peak * std::sin(phase)));
    }
    return samples;
}

/// In Hz, by the first and the last rising zero crossing.
inline double FrequencyOf(std::span<const std::int16_t> samples, std::uint32_t rate) {
    double first = -1;
    double last = -1;
    int periods = -1;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (samples[i - 1] >= 0 || samples[i] < 0) continue;
        last = static_cast<double>(i) - static_cast<double>(samples[i]) / (samples[i] - samples[i - 1]);
        if (++periods == 0) first = last;
    }
    return periods > 0 ? periods * static_cast<double>(rate) / (last - first) : 0;
}

/// The level of a tone as its peak.
inline double PeakOf(std::span<const std::int16_t> samples) {
    double sum = 0;
    for (const std::int16_t sample : samples)
        sum += static_cast<double>(sample) * sample;
    return std::sqrt(2 * sum / static_cast<double>(std::max<std::size_t>(samples.size(), 1)));
}

}  // namespace norix::test
