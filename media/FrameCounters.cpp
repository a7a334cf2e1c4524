#include "media/FrameCounters.h"

namespace norix {

void FrameCounters::Count(std::uint32_t which) {
    std::lock_guard<std::mutex> lock(m_lock);
    if (which == kResetAll) {
        m_counts.fill(0);
    } else if (which < m_counts.size()) {
        ++m_counts[which];
    }
}

std::uint32_t FrameCounters::Get(std::uint32_t which) const {
    std::lock_guard<std::mutex> lock(m_lock);
    return which < m_counts.size() ? m_counts[which] : 0;
}

FrameCounts FrameCounters::Take() {
    std::lock_guard<std::mutex> lock(m_lock);
    const FrameCounts counts{m_counts[kReceived], m_counts[kDecoded], m_counts[kDisplayed]};
    m_counts.fill(0);
    return counts;
}

}  // namespace norix
