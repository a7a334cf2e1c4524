#include "media/TimeSync.h"

namespace norix {

// Latched, since the difference below becomes small again when the timer wraps.
bool CTimeSync::Learning(std::uint32_t nowMs) {
    if (!m_learned && (m_rules.learningMs == 0 || nowMs - m_startMs > m_rules.learningMs)) m_learned = true;
    return !m_learned;
}

void CTimeSync::Advance(std::uint32_t pts, std::uint32_t nowMs) {
    const bool learning = Learning(nowMs);
    if (m_resync) {
        if (pts != 0 && !learning) m_resync = false;
        m_offsetMs = nowMs - pts;
        m_streamMs = pts;
        m_lastShownMs = pts;
    } else if (pts == 0) {
        m_resync = true;
    } else {
        m_streamMs = nowMs - m_offsetMs;
    }
}

CTimeSync::Verdict CTimeSync::Decide(std::uint32_t pts, std::uint32_t nowMs) {
    Advance(pts, nowMs);
    const std::int32_t maxDiff = static_cast<std::int32_t>(m_rules.maxDiffMs);
    Verdict verdict;
    verdict.sysTime = m_streamMs;
    verdict.curDiff = static_cast<std::int32_t>(m_streamMs - pts);
    verdict.prevDiff = static_cast<std::int32_t>(m_streamMs - m_lastShownMs);

    if (verdict.curDiff < 0 && pts != 0 && m_rules.holdEarly) {
        const bool heldEnough = verdict.prevDiff >= maxDiff;
        if (heldEnough) m_resync = true;
        verdict.action = heldEnough ? Action::Rebase : Action::Hold;
        return verdict;
    }
    m_lastShownMs = m_streamMs;
    verdict.late = verdict.curDiff >= maxDiff;
    if (verdict.late) m_resync = true;
    return verdict;
}

}  // namespace norix
