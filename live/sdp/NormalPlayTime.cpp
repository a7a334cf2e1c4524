#include "live/sdp/NormalPlayTime.h"

#include <algorithm>
#include <cmath>

namespace live::sdp {
namespace {
constexpr double kMicro = 1e-6;
// The first frame is hardly ever further from where the server says that it starts.
constexpr double kBelievable = 10;
}  // namespace

double NormalPlayTime::at(std::int64_t timestamp, unsigned clockRate, unsigned sender, std::int64_t now,
                          PlayTimeOrigin& origin) {
    if (!origin.firstFrame) origin.firstFrame = now;
    if (!m_based || sender != m_sender || origin.generation != m_generation) {
        rebase(timestamp, clockRate, sender, now, origin);
    }
    const double ticks = static_cast<double>(timestamp - m_baseTimestamp);
    m_lastPosition = m_basePosition + ticks / clockRate * origin.scale;
    m_lastArrival = now;
    return m_lastPosition;
}

void NormalPlayTime::rebase(std::int64_t timestamp, unsigned clockRate, unsigned sender, std::int64_t now,
                            PlayTimeOrigin& origin) {
    const bool newPlay = !m_based || origin.generation != m_generation;
    m_baseTimestamp = timestamp;
    if (!newPlay) {
        // Another sender took over: its timestamps start anywhere, time goes on.
        m_basePosition = m_lastPosition + static_cast<double>(now - m_lastArrival) * kMicro * origin.scale;
    } else {
        m_basePosition = origin.start + static_cast<double>(now - *origin.firstFrame) * kMicro * origin.scale;
        if (m_rtpInfo.timestamp) {
            const auto ahead =
                static_cast<std::int32_t>(static_cast<std::uint32_t>(timestamp) - *m_rtpInfo.timestamp);
            const double seconds = static_cast<double>(ahead) / clockRate;
            if (std::fabs(seconds) <= kBelievable)
                m_basePosition = origin.start + std::max(seconds, 0.0) * origin.scale;
        }
    }
    m_based = true;
    m_sender = sender;
    m_generation = origin.generation;
}

}  // namespace live::sdp
