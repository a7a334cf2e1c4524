#pragma once

#include <cstddef>
#include <cstdint>

namespace norix {

/// Gains are fixed-point numbers with 15 fractional bits.
inline constexpr std::int32_t kUnityGain = 1 << 15;

/// What a volume from 0 to 100 does to the samples: it is squared, so that the steps of a slider sound even
/// (50 is 12 dB below 100, 10 is 40 dB below). 0 is silence; a negative volume, which nobody has chosen,
/// leaves the sound as it was recorded, and so does everything from 100 on.
std::int32_t GainOfVolume(std::int32_t volume) noexcept;

/// The gain that is so many dB below unity; 0 and less is unity.
std::int32_t GainOfAttenuation(std::int32_t decibels) noexcept;

/// Scales samples, gliding from one gain to the next over some milliseconds, since a sudden step can be heard
/// as a click. Once it has glided to 0 all samples are exactly 0. One thread at a time.
class VoiceGain {
  public:
    void Apply(std::int16_t* samples, std::size_t count, std::int32_t target) noexcept;

  private:
    std::int32_t m_current = -1;  // none yet: the first gain holds from its first sample
};

}  // namespace norix
