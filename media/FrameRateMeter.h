#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "media/FrameCounters.h"

namespace norix {

struct FrameRates {
    std::uint32_t received = 0;   // frames since the previous pass
    std::uint32_t decoded = 0;    // likewise
    std::uint32_t displayed = 0;  // likewise
    std::uint32_t average = 0;    // displayed frames per second over the last passes, rounded
};

/// The four rates that the control's statistics pass shows once a second. Window thread only.
class FrameRateMeter {
  public:
    explicit FrameRateMeter(std::uint32_t nowMs = 0) : m_previousMs(nowMs) {}

    /// Starts anew: no passes yet, the first span begins now.
    void Reset(std::uint32_t nowMs) { *this = FrameRateMeter(nowMs); }

    /// `counts` are the frames since the previous pass, `nowMs` the system's tick count (it may wrap).
    FrameRates Pass(std::uint32_t nowMs, const FrameCounts& counts);

  private:
    std::array<std::uint32_t, 5> m_perSecond{};
    std::size_t m_slot = 0;
    std::size_t m_valid = 0;
    std::uint32_t m_previousMs;
};

}  // namespace norix
