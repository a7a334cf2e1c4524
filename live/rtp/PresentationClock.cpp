#include "live/rtp/PresentationClock.h"

#include "live/env/Clock.h"
#include "live/rtp/RtpPacket.h"

namespace live::rtp {
namespace {

constexpr std::int64_t kSecondsFrom1900To1970 = 2'208'988'800;

std::int64_t ticksToMicroseconds(std::int64_t ticks, unsigned clockRate) {
    // Split, because ticks times a million can be too much.
    const std::int64_t rate = clockRate;
    return ticks / rate * kMicrosecondsPerSecond + ticks % rate * kMicrosecondsPerSecond / rate;
}

}  // namespace

std::int64_t PresentationClock::extend(std::uint32_t timestamp) {
    m_lastExtended += timestampDistance(timestamp, static_cast<std::uint32_t>(m_lastExtended));
    return m_lastExtended;
}

void PresentationClock::onSenderReport(const SenderReport& report) {
    // Senders without a clock of their own send zero.
    if (report.ntpTime == 0) return;
    if (!m_started) m_lastExtended = report.rtpTimestamp;
    m_started = true;
    m_baseExtended =
        m_lastExtended + timestampDistance(report.rtpTimestamp, static_cast<std::uint32_t>(m_lastExtended));
    const auto seconds = static_cast<std::int64_t>(report.ntpTime >> 32) - kSecondsFrom1900To1970;
    const auto fraction = static_cast<std::int64_t>(((report.ntpTime & 0xFFFFFFFFu) * 1'000'000) >> 32);
    m_baseMicroseconds = seconds * kMicrosecondsPerSecond + fraction;
    m_synchronized = true;
}

PresentationClock::Time PresentationClock::at(std::uint32_t timestamp, std::int64_t arrivalWallMicroseconds) {
    if (!m_started) {
        m_started = true;
        m_lastExtended = m_baseExtended = timestamp;
        m_baseMicroseconds = arrivalWallMicroseconds;
    }
    const std::int64_t extended = extend(timestamp);
    return {extended, m_baseMicroseconds + ticksToMicroseconds(extended - m_baseExtended, m_clockRate)};
}

}  // namespace live::rtp
