#include "live/rtp/ReceptionStats.h"

#include <algorithm>
#include <cmath>

#include "live/env/Clock.h"

namespace live::rtp {

void ReceptionStats::reset(std::uint32_t ssrc) {
    const std::uint64_t foreign = m_foreign;
    *this = ReceptionStats(m_clockRate);
    m_foreign = foreign;
    m_ssrc = ssrc;
}

void ReceptionStats::onPacket(const RtpPacket& packet, std::int64_t nowMicroseconds) {
    if (m_received == 0) {
        m_first = m_highest = packet.sequence;
    } else {
        const int ahead = sequenceDistance(packet.sequence, static_cast<std::uint16_t>(m_highest));
        m_highest += std::max(ahead, 0);
        const double transitChange =
            static_cast<double>(nowMicroseconds - m_lastArrival) * m_clockRate / kMicrosecondsPerSecond -
            static_cast<double>(timestampDistance(packet.timestamp, m_lastTimestamp));
        constexpr double kGain = 1.0 / 16;
        m_jitter += (std::fabs(transitChange) - m_jitter) * kGain;
    }
    m_lastTimestamp = packet.timestamp;
    m_lastArrival = nowMicroseconds;
    ++m_received;
}

void ReceptionStats::onSenderReport(const SenderReport& report, std::int64_t nowMicroseconds) {
    m_lastReport = static_cast<std::uint32_t>(report.ntpTime >> 16);
    m_lastReportArrival = nowMicroseconds;
}

std::int64_t ReceptionStats::lost() const {
    return expected() - static_cast<std::int64_t>(m_received);
}

ReceptionReport ReceptionStats::takeReport(std::int64_t nowMicroseconds) {
    ReceptionReport report;
    report.ssrc = m_ssrc;
    const std::int64_t expectedNow = expected() - m_expectedPrior;
    const std::int64_t lostNow = expectedNow - static_cast<std::int64_t>(m_received - m_receivedPrior);
    if (expectedNow > 0 && lostNow > 0) {
        report.fractionLost =
            static_cast<std::uint8_t>(std::min<std::int64_t>(lostNow * 256 / expectedNow, 255));
    }
    m_expectedPrior = expected();
    m_receivedPrior = m_received;
    report.packetsLost = static_cast<std::int32_t>(std::clamp<std::int64_t>(lost(), -0x800000, 0x7FFFFF));
    report.highestSequence = static_cast<std::uint32_t>(m_highest);
    report.jitter = static_cast<std::uint32_t>(std::min(m_jitter, 4e9));
    report.lastReport = m_lastReport;
    if (m_lastReport != 0) {
        const std::int64_t delay =
            std::min<std::int64_t>(nowMicroseconds - m_lastReportArrival, 0xFFFF * kMicrosecondsPerSecond);
        report.delaySinceLastReport = static_cast<std::uint32_t>(delay * 65536 / kMicrosecondsPerSecond);
    }
    return report;
}

}  // namespace live::rtp
