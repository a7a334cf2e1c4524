#pragma once

// Timestamps for streams whose transport has none: milliseconds of the arrival clock, for video and audio
// alike, made even where the stream tells better. Never 0, which means "none". Pure.

#include <cstdint>

namespace norix::http {

/// Pictures: the camera's own time where a picture carries it, laid on the arrival clock.
class PictureClock {
  public:
    /// `cameraMs` 0: none. Never goes back.
    std::uint32_t Stamp(std::uint32_t arrivalMs, std::uint32_t cameraMs);

  private:
    bool m_based = false;
    std::uint32_t m_offset = 0;  // arrival minus camera
    bool m_any = false;
    std::uint32_t m_last = 0;
};

/// Sound: counts samples of 8000 Hz from the first block's arrival on. Silence on the line moves it forward.
class SoundClock {
  public:
    /// The time of a block's first sample.
    std::uint32_t Stamp(std::uint32_t arrivalMs, std::uint32_t samples);

  private:
    bool m_any = false;
    std::uint32_t m_base = 0;
    std::uint64_t m_samples = 0;  // since m_base
};

}  // namespace norix::http
