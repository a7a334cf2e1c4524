#pragma once

// Counts what arrives and what is missing of one source, as receiver reports want it (RFC 3550, A.3 and A.8).

#include <cstdint>

#include "live/rtp/RtcpPacket.h"
#include "live/rtp/RtpPacket.h"

namespace live::rtp {

class ReceptionStats {
  public:
    explicit ReceptionStats(unsigned clockRate) : m_clockRate(clockRate) {}

    void reset(std::uint32_t ssrc);
    void onPacket(const RtpPacket& packet, std::int64_t nowMicroseconds);
    void onSenderReport(const SenderReport& report, std::int64_t nowMicroseconds);

    bool hasPackets() const { return m_received > 0; }
    std::uint32_t ssrc() const { return m_ssrc; }
    std::uint64_t received() const { return m_received; }
    std::int64_t lost() const;
    /// Datagrams from others than the session's sender.
    void onForeign() { ++m_foreign; }
    std::uint64_t foreign() const { return m_foreign; }
    double jitterSeconds() const { return m_jitter / m_clockRate; }

    /// Starts the next interval of "fraction lost".
    ReceptionReport takeReport(std::int64_t nowMicroseconds);

  private:
    std::int64_t expected() const { return m_received == 0 ? 0 : m_highest - m_first + 1; }

    unsigned m_clockRate;
    std::uint32_t m_ssrc = 0;
    std::int64_t m_first = 0;  // sequence numbers, extended over wraps
    std::int64_t m_highest = 0;
    std::uint64_t m_received = 0;
    std::int64_t m_expectedPrior = 0;
    std::uint64_t m_receivedPrior = 0;
    std::uint32_t m_lastTimestamp = 0;
    std::int64_t m_lastArrival = 0;
    std::uint64_t m_foreign = 0;
    double m_jitter = 0;  // in ticks of the clock rate
    std::uint32_t m_lastReport = 0;
    std::int64_t m_lastReportArrival = 0;
};

}  // namespace live::rtp
