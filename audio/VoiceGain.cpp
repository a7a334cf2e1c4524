#include "audio/VoiceGain.h"

#include <algorithm>
#include <cmath>

namespace norix {
namespace {

constexpr std::int32_t kFullVolume = 100;
constexpr std::size_t kGlideSamples = 64;  // 8 ms at 8000 Hz

std::int16_t Scale(std::int16_t sample, std::int32_t gain) {
    return static_cast<std::int16_t>(sample * gain / kUnityGain);
}

}  // namespace

std::int32_t GainOfVolume(std::int32_t volume) noexcept {
    if (volume < 0 || volume >= kFullVolume) return kUnityGain;
    return volume * volume * kUnityGain / (kFullVolume * kFullVolume);
}

std::int32_t GainOfAttenuation(std::int32_t decibels) noexcept {
    if (decibels <= 0) return kUnityGain;
    return static_cast<std::int32_t>(std::lround(kUnityGain * std::pow(10.0, -decibels / 20.0)));
}

void VoiceGain::Apply(std::int16_t* samples, std::size_t count, std::int32_t target) noexcept {
    if (count == 0) return;
    if (m_current < 0) m_current = target;
    const std::size_t glide = m_current == target ? 0 : std::min(count, kGlideSamples);
    for (std::size_t i = 0; i < glide; ++i) {
        const auto done = static_cast<std::int32_t>(i + 1);
        const std::int32_t gain = m_current + (target - m_current) * done / static_cast<std::int32_t>(glide);
        samples[i] = Scale(samples[i], gain);
    }
    m_current = target;
    if (target == 0) {
        std::fill(samples + glide, samples + count, std::int16_t{0});
    } else if (target != kUnityGain) {
        std::for_each(samples + glide, samples + count, [target](std::int16_t& s) { s = Scale(s, target); });
    }
}

}  // namespace norix
