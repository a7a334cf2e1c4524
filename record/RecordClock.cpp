#include "record/RecordClock.h"

#include <algorithm>
#include <cstdlib>

namespace norix {
namespace {

constexpr std::int64_t kWindowMs = 2000;
// What comes later than this by its timestamp has a new origin rather than a long way behind it.
constexpr std::int64_t kBelievedDelayMs = 10000;
// Nothing arrives before it was sent, but the first frame may have been long on its way.
constexpr std::int64_t kBelievedLeadMs = 1500;
// Steps back by more than this are no reordered pictures.
constexpr std::int64_t kBelievedStepBackMs = 1000;
// Two streams with offsets this close are stamped by one clock.
constexpr std::int64_t kOneClockMs = 1500;

}  // namespace

void RecordClock::Reset() {
    *this = RecordClock();
}

std::int64_t RecordClock::Arrival(std::uint32_t now) {
    if (m_now) m_arrival += std::max<std::int64_t>(static_cast<std::int32_t>(now - *m_now), 0);
    m_now = now;
    return m_arrival;
}

void RecordClock::Follow(Mapping& mapping, std::uint32_t pts, std::int64_t arrival) {
    const auto step = static_cast<std::int32_t>(pts - static_cast<std::uint32_t>(mapping.pts));
    mapping.pts = mapping.known ? mapping.pts + step : pts;
    const std::int64_t delay = arrival - (mapping.pts + mapping.offset);
    if (!mapping.known || delay < -kBelievedLeadMs || delay > kBelievedDelayMs ||
        step < -kBelievedStepBackMs) {
        mapping.offset += delay;
        mapping.leastDelay = 0;
        mapping.windowEnd = arrival + kWindowMs;
        mapping.known = true;
        return;
    }
    mapping.leastDelay = std::min(mapping.leastDelay, delay);
    if (arrival < mapping.windowEnd) return;
    // The sender's clock is a little faster or slower than this machine's.
    mapping.offset += std::clamp<std::int64_t>(mapping.leastDelay, -1, 1);
    mapping.leastDelay = delay;
    mapping.windowEnd = arrival + kWindowMs;
}

std::int64_t RecordClock::Place(Stream stream, std::uint32_t pts, std::uint32_t now) {
    const std::int64_t arrival = Arrival(now);
    Mapping& mapping = m_streams[stream];
    Follow(mapping, pts, arrival);
    // The file's time follows the pictures, since a viewer notices jerks sooner than a shifted sound.
    const Mapping& video = m_streams[kVideo];
    const bool oneClock = video.known && std::abs(mapping.offset - video.offset) <= kOneClockMs;
    const std::int64_t offset = oneClock ? video.offset : mapping.offset;
    return mapping.pts + offset;
}

void RateEstimate::Add(std::int64_t time) {
    if (m_last) {
        const std::int64_t distance = time - *m_last;
        constexpr std::int64_t kLongest = 10000;
        if (distance > 0 && distance < kLongest) m_distances[m_count++ % kKept] = static_cast<int>(distance);
    }
    m_last = time;
}

std::optional<FrameRate> RateEstimate::Rate() const {
    if (m_count < kEnough) return std::nullopt;
    std::array<std::int32_t, kKept> sorted = m_distances;
    const std::size_t count = std::min(m_count, kKept);
    const auto end = sorted.begin() + static_cast<std::ptrdiff_t>(count);
    std::sort(sorted.begin(), end);
    const double median = sorted[count / 2];
    // Whole milliseconds are too coarse, so the mean; of those that are no gap.
    double sum = 0;
    std::size_t taken = 0;
    for (auto at = sorted.begin(); at != end; ++at) {
        if (*at > 1.5 * median || *at < 0.5 * median) continue;
        sum += *at;
        ++taken;
    }
    return NearestRate(sum / static_cast<double>(taken));
}

}  // namespace norix
