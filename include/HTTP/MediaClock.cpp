#include "include/HTTP/MediaClock.h"

namespace norix::http {
namespace {

// Beyond it, the camera's clock was set or its numbers mean something else.
constexpr std::int32_t kCameraOffLimitMs = 1000;
// Beyond it, sound is missing rather than late.
constexpr std::int32_t kSoundGapMs = 500;
constexpr std::uint32_t kSamplesPerMs = 8;

std::int32_t Difference(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a - b);
}

std::uint32_t NotZero(std::uint32_t pts) {
    return pts != 0 ? pts : 1;
}

}  // namespace

std::uint32_t PictureClock::Stamp(std::uint32_t arrivalMs, std::uint32_t cameraMs) {
    std::uint32_t pts = arrivalMs;
    if (cameraMs != 0) {
        const std::int32_t off = Difference(cameraMs + m_offset, arrivalMs);
        if (!m_based || off > kCameraOffLimitMs || off < -kCameraOffLimitMs) m_offset = arrivalMs - cameraMs;
        m_based = true;
        pts = cameraMs + m_offset;
    }
    if (m_any && Difference(pts, m_last) < 0) pts = m_last;
    m_any = true;
    m_last = NotZero(pts);
    return m_last;
}

std::uint32_t SoundClock::Stamp(std::uint32_t arrivalMs, std::uint32_t samples) {
    const std::uint32_t arrivalOfFirst = arrivalMs - samples / kSamplesPerMs;
    auto pts = static_cast<std::uint32_t>(m_base + m_samples / kSamplesPerMs);
    if (!m_any || Difference(arrivalOfFirst, pts) > kSoundGapMs) {
        m_base = arrivalOfFirst;
        m_samples = 0;
        pts = m_base;
    }
    m_any = true;
    m_samples += samples;
    return NotZero(pts);
}

}  // namespace norix::http
