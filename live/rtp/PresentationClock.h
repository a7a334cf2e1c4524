#pragma once

// Turns a source's RTP timestamps into presentation times.
//
// Before the first sender report the first packet's arrival is its time, and the timestamps carry on from
// there. From the first report on, the sender's own wall clock counts.

#include <cstdint>

#include "live/rtp/RtcpPacket.h"

namespace live::rtp {

class PresentationClock {
  public:
    explicit PresentationClock(unsigned clockRate) : m_clockRate(clockRate) {}

    void reset() { *this = PresentationClock(m_clockRate); }
    void onSenderReport(const SenderReport& report);
    bool synchronized() const { return m_synchronized; }

    struct Time {
        std::int64_t extended = 0;      // the timestamp, extended over wraps
        std::int64_t microseconds = 0;  // wall clock
    };
    Time at(std::uint32_t timestamp, std::int64_t arrivalWallMicroseconds);

  private:
    std::int64_t extend(std::uint32_t timestamp);

    unsigned m_clockRate;
    bool m_started = false;
    bool m_synchronized = false;
    std::int64_t m_lastExtended = 0;
    std::int64_t m_baseExtended = 0;
    std::int64_t m_baseMicroseconds = 0;
};

}  // namespace live::rtp
