#pragma once

// How long packets that are missing are waited for: as long as late ones have lately been late, and a little
// more, within limits. After two calm periods it is back at its least. Pure; times in microseconds.

#include <algorithm>
#include <cstdint>

namespace live::rtp {

/// The largest of the values of the last one to two periods.
class RecentPeak {
  public:
    static constexpr std::int64_t kPeriod = 5'000'000;

    void add(std::int64_t value, std::int64_t now) {
        roll(now);
        m_current = std::max(m_current, value);
    }
    std::int64_t at(std::int64_t now) const {
        const std::int64_t passed = now - m_begin;
        if (passed >= 2 * kPeriod) return 0;
        return passed >= kPeriod ? m_current : std::max(m_current, m_before);
    }

  private:
    void roll(std::int64_t now) {
        const std::int64_t passed = now - m_begin;
        if (passed < kPeriod) return;
        m_before = passed < 2 * kPeriod ? m_current : 0;
        m_current = 0;
        m_begin = now;
    }

    std::int64_t m_begin = 0;
    std::int64_t m_current = 0;
    std::int64_t m_before = 0;
};

class ReorderWindow {
  public:
    /// Always the same.
    explicit ReorderWindow(std::int64_t fixed) : ReorderWindow(fixed, fixed, fixed) {}
    /// `initial` until the stream has shown what it needs.
    ReorderWindow(std::int64_t initial, std::int64_t least, std::int64_t most)
        : m_initial(initial), m_least(least), m_most(std::max(most, initial)) {}

    /// The stream has begun.
    void start(std::int64_t now) { m_begin = now; }

    /// A packet came so long after its successor, be it still waited for or given up.
    void onLate(std::int64_t lateness, std::int64_t now) {
        // What is later than this was not late but sent again.
        constexpr std::int64_t kBelievable = 2'000'000;
        if (lateness <= kBelievable) m_lateness.add(lateness, now);
    }

    std::int64_t at(std::int64_t now) const {
        if (m_least == m_most) return m_least;
        constexpr std::int64_t kSlack = 2'000;
        const std::int64_t peak = m_lateness.at(now);
        const std::int64_t wanted = peak == 0 ? 0 : peak + peak / 4 + kSlack;
        const std::int64_t least = now - m_begin < RecentPeak::kPeriod ? m_initial : m_least;
        return std::clamp(wanted, least, m_most);
    }

  private:
    std::int64_t m_initial;
    std::int64_t m_least;
    std::int64_t m_most;
    RecentPeak m_lateness;
    std::int64_t m_begin = 0;
};

}  // namespace live::rtp
