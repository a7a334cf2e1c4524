#pragma once

#include <cstdint>

namespace norix {

/// Decides when something with a time stamp is due: the clock that maps the stream's time stamps onto the
/// system's millisecond timer. Display and audio each keep one of their own.
///
/// Pure: the present moment is an argument. Both times are 32-bit and may wrap. One thread at a time.
///
/// While resyncing, everything is shown at once and becomes the new base of the clock. Otherwise what is
/// early is held until it is due, but no longer than maxDiffMs after the previous one; what is late by
/// maxDiffMs or more is shown and makes the next one a new base. A time stamp of 0 means unknown: shown at
/// once, and the next one is a new base.
class CTimeSync {
  public:
    struct Rules {
        std::uint32_t maxDiffMs = 33;  // the largest lateness borne, and the longest wait
        std::uint32_t learningMs = 0;  // for so long from the start everything is a new base
        bool holdEarly = true;         // false: nothing is ever held
    };

    enum class Action {
        Show,    // now
        Hold,    // look again a millisecond later
        Rebase,  // look again at once: it has been held long enough and becomes the new base
    };

    struct Verdict {
        Action action = Action::Show;
        bool late = false;          // only with Show: by maxDiffMs or more
        std::uint32_t sysTime = 0;  // the present moment as stream time
        std::int32_t curDiff = 0;   // sysTime - pts; negative = early
        std::int32_t prevDiff = 0;  // sysTime - the moment at which the previous one was shown
    };

    CTimeSync(const Rules& rules, std::uint32_t nowMs) : m_rules(rules), m_startMs(nowMs) {}

    Verdict Decide(std::uint32_t pts, std::uint32_t nowMs);

    /// The next one becomes a new base, and so is shown at once.
    void Resync() { m_resync = true; }

  private:
    bool Learning(std::uint32_t nowMs);
    void Advance(std::uint32_t pts, std::uint32_t nowMs);

    const Rules m_rules;
    const std::uint32_t m_startMs;
    bool m_learned = false;  // the learning period has been seen to be over
    bool m_resync = true;
    std::uint32_t m_offsetMs = 0;     // system time minus stream time
    std::uint32_t m_streamMs = 0;     // the present moment as stream time
    std::uint32_t m_lastShownMs = 0;  // as stream time
};

/// The rules of the two clocks.
constexpr CTimeSync::Rules DisplayTimeRules(bool enableTimeSync) {
    return {33, 10000, enableTimeSync};
}
constexpr CTimeSync::Rules AudioTimeRules(bool enableTimeSync) {
    return {125, 0, enableTimeSync};
}

}  // namespace norix
