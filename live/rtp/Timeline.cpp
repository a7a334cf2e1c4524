#include "live/rtp/Timeline.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "live/env/Clock.h"
#include "live/rtp/RtpPacket.h"

namespace live::rtp {
namespace {

constexpr std::int64_t kBelievable = 10 * kMicrosecondsPerSecond;
constexpr std::int64_t kBackwards = kMicrosecondsPerSecond / 2;
constexpr std::int64_t kAligned = 20'000;  // reports are hardly more exact
constexpr std::int64_t kClockSet = 100'000;
constexpr std::int64_t kSlew = 10;  // of the time that passes, one in so many at most goes into a correction
constexpr std::int64_t kAtLeast = 1'000;  // from one frame to the next, also across other timestamps

// RFC 3550, 4. Times before 1968 are of the era that begins in 2036 (RFC 4330, 3).
std::int64_t wallOf(std::uint64_t ntpTime) {
    constexpr std::int64_t kSecondsFrom1900To1970 = 2'208'988'800;
    constexpr std::int64_t kEra = std::int64_t{1} << 32;
    auto seconds = static_cast<std::int64_t>(ntpTime >> 32);
    if (seconds < kEra / 2) seconds += kEra;
    const auto fraction = static_cast<std::int64_t>(((ntpTime & 0xFFFFFFFFu) * 1'000'000) >> 32);
    return (seconds - kSecondsFrom1900To1970) * kMicrosecondsPerSecond + fraction;
}

std::int64_t scaled(std::int64_t microseconds, double scale) {
    return scale == 1 ? microseconds : std::llround(static_cast<double>(microseconds) * scale);
}

}  // namespace

void SessionTimeline::setStart(double seconds) {
    constexpr double kLatest = 9e12;  // what still is a number of microseconds
    m_start = std::isfinite(seconds) && std::fabs(seconds) < kLatest
                  ? std::llround(seconds * static_cast<double>(kMicrosecondsPerSecond))
                  : 0;
}

void SessionTimeline::play(double start, double scale) {
    setStart(start);
    m_scale = scale;
    ++m_generation;
    m_firstFrame.reset();
    m_senderClock.reset();
}

std::int64_t StreamTimeline::microseconds(std::int64_t ticks) const {
    // Split, because ticks times a million can be too much.
    const std::int64_t rate = m_clockRate;
    return ticks / rate * kMicrosecondsPerSecond + ticks % rate * kMicrosecondsPerSecond / rate;
}

std::int64_t StreamTimeline::positionOf(std::int64_t extended) const {
    return m_basePosition + scaled(microseconds(extended - m_baseTimestamp), m_session.m_scale);
}

void StreamTimeline::onNewSender() {
    m_newSender = true;
    m_started = false;
    m_report.reset();
    m_aligned = false;
}

void StreamTimeline::onSenderReport(const SenderReport& report) {
    // Senders without a clock of their own send zero.
    if (report.ntpTime == 0) return;
    if (!m_started) {
        m_started = true;
        m_last = report.rtpTimestamp;
    }
    const Report now{m_last + timestampDistance(report.rtpTimestamp, static_cast<std::uint32_t>(m_last)),
                     wallOf(report.ntpTime)};
    if (m_placed && !m_newSender && m_generation == m_session.m_generation &&
        std::llabs(microseconds(now.extended - m_last)) > kBelievable)
        return;
    // The sender's clock has been set: then every stream's reports differ from those before.
    const bool clockSet = m_report && std::llabs(now.wall - m_report->wall -
                                                 microseconds(now.extended - m_report->extended)) > kClockSet;
    m_report = now;
    m_reportGeneration = m_session.m_generation;
    m_wallTimestamp = now.extended;
    m_wall = now.wall;
    if (clockSet) m_offCount = 0;
    // Before that, the first frame goes by it.
    if (!m_placed || m_newSender || m_generation != m_session.m_generation) return;
    if (clockSet && m_session.m_senderClock) {
        const std::int64_t off = *m_session.m_senderClock + now.wall - positionOf(now.extended);
        // Unless another stream's report has told so before.
        if (std::llabs(off) > kAligned) m_session.m_senderClock.reset();
    }
    align();
}

// Makes the reports agree: the first one at once, by moving this stream or all others forward; later ones
// gently, and only when several say so. A single one is off by as much as a frame where cameras stamp it with
// the last frame's time.
void StreamTimeline::align() {
    if (m_session.m_scale != 1) return;
    follow();
    const std::int64_t here = positionOf(m_report->extended);
    if (!m_session.m_senderClock) m_session.m_senderClock = here - m_report->wall;
    const std::int64_t behind = *m_session.m_senderClock + m_report->wall - here;
    if (std::llabs(behind) > kBelievable) return;  // a clock of its own
    if (m_aligned) {
        correct(behind);
        return;
    }
    m_shift = m_session.m_shift;
    m_aligned = true;
    m_owed = 0;
    m_offCount = 0;
    if (std::llabs(behind) <= kAligned) return;
    if (behind > 0) {
        m_basePosition += behind;
    } else {
        *m_session.m_senderClock -= behind;
        m_session.m_shift -= behind;
        m_shift -= behind;
    }
}

// Either way, so that reports that are off now and then don't add up.
void StreamTimeline::correct(std::int64_t behind) {
    m_off[m_offCount++ % m_off.size()] = behind - m_owed;
    if (m_offCount < m_off.size()) return;
    auto sorted = m_off;
    std::sort(sorted.begin(), sorted.end());
    const std::int64_t median = sorted[sorted.size() / 2];
    if (std::llabs(median) <= kAligned) return;
    m_owed += median;
    m_offCount = 0;
}

// Spreads a correction over the frames, so that none goes back.
void StreamTimeline::slew(std::int64_t passed) {
    if (!m_aligned || passed <= 0) return;
    const std::int64_t now = std::clamp(m_owed, -passed / kSlew, passed / kSlew);
    m_basePosition += now;
    m_owed -= now;
}

// Goes along with what others had to be moved.
void StreamTimeline::follow() {
    if (!m_aligned) return;
    m_basePosition += m_session.m_shift - m_shift;
    m_shift = m_session.m_shift;
}

bool StreamTimeline::jumped(std::int64_t distance, std::int64_t now) const {
    const std::int64_t step = microseconds(distance);
    return step < -kBackwards || step > std::max<std::int64_t>(now - m_lastArrival, 0) + kBelievable;
}

// Before the first frame since PLAY: of what played before, or of other timestamps. The first PLAY's may
// have come before its reply.
bool StreamTimeline::staleReport() const {
    return (m_reportGeneration != 0 && m_reportGeneration != m_session.m_generation) ||
           std::llabs(microseconds(m_last - m_report->extended)) > kBelievable;
}

// The first frame since PLAY.
void StreamTimeline::begin(std::int64_t now) {
    m_generation = m_session.m_generation;
    m_placed = true;
    m_aligned = false;
    m_baseTimestamp = m_last;
    const std::int64_t start = m_session.m_start;
    m_basePosition = start + scaled(now - *m_session.m_firstFrame, m_session.m_scale);
    if (m_rtpInfo) {
        const std::int64_t ahead =
            microseconds(timestampDistance(static_cast<std::uint32_t>(m_last), *m_rtpInfo));
        if (std::llabs(ahead) <= kBelievable)
            m_basePosition = start + scaled(std::max<std::int64_t>(ahead, 0), m_session.m_scale);
    }
    m_latest = m_basePosition;
}

// Other timestamps, the same time.
void StreamTimeline::carryOn(std::int64_t now) {
    m_baseTimestamp = m_last;
    m_basePosition = m_latest + scaled(std::max(now - m_lastArrival, kAtLeast), m_session.m_scale);
    m_aligned = false;
}

StreamTimeline::Time StreamTimeline::at(std::uint32_t timestamp, std::int64_t now, std::int64_t wallNow) {
    if (!m_session.m_firstFrame) m_session.m_firstFrame = now;
    const bool first = !m_placed || m_generation != m_session.m_generation;
    const std::int64_t distance =
        m_started ? timestampDistance(timestamp, static_cast<std::uint32_t>(m_last)) : 0;
    // Before there is a frame, all that is known is a report's timestamp.
    const bool jump = m_placed && !m_newSender && !first && jumped(distance, now);
    m_last = m_started ? m_last + distance : timestamp;
    m_started = true;
    const bool stale = first && m_report && staleReport();
    if (jump || stale) m_report.reset();
    if (!m_report && (jump || stale || m_newSender || !m_placed)) {
        m_wallTimestamp = m_last;
        m_wall = wallNow;
    }
    if (first) {
        begin(now);
    } else if (jump || m_newSender) {
        carryOn(now);
    }
    if (!first && !jump && !m_newSender) slew(microseconds(distance));
    if ((first || m_newSender) && m_report) align();
    m_newSender = false;
    follow();
    const std::int64_t position = positionOf(m_last);
    m_latest = m_session.m_scale < 0 ? position : std::max(m_latest, position);
    m_lastArrival = now;
    return {position, m_wall + microseconds(m_last - m_wallTimestamp)};
}

}  // namespace live::rtp
