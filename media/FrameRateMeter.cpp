#include "media/FrameRateMeter.h"

#include <algorithm>

namespace norix {

FrameRates FrameRateMeter::Pass(std::uint32_t nowMs, const FrameCounts& counts) {
    // To the nearest second: a timer's second is a few milliseconds short as often as long.
    const std::uint32_t seconds = (nowMs - m_previousMs + 500) / 1000;
    m_previousMs = nowMs;
    m_perSecond[m_slot] = seconds == 0 ? 0 : counts.displayed / seconds;
    m_slot = (m_slot + 1) % m_perSecond.size();
    m_valid = std::min(m_valid + 1, m_perSecond.size());

    double sum = 0;
    for (std::size_t i = 0; i < m_valid; ++i)
        sum += m_perSecond[i];
    const double average = sum / static_cast<double>(m_valid) + 0.5;
    return {counts.received, counts.decoded, counts.displayed, static_cast<std::uint32_t>(average)};
}

}  // namespace norix
