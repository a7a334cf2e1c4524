#pragma once

#include <algorithm>
#include <cstdint>

namespace norix {

/// How long to wait before each attempt to connect again: 1, 2, 4... 30 seconds. All but the first are moved
/// by up to a quarter either way, so that many controls whose cameras went together do not come back
/// together. Pure.
class BackOff {
  public:
    static constexpr unsigned kFirstMs = 1000;
    static constexpr unsigned kLongestMs = 30000;

    /// Milliseconds until the next attempt. `random` is any number.
    unsigned Next(std::uint32_t random) {
        const unsigned delay = m_delayMs;
        m_delayMs = std::min(2 * m_delayMs, kLongestMs);
        if (delay == kFirstMs) return delay;
        const unsigned quarter = delay / 4;
        return std::min(delay - quarter + random % (2 * quarter + 1), kLongestMs);
    }
    void Reset() { m_delayMs = kFirstMs; }

  private:
    unsigned m_delayMs = kFirstMs;
};

}  // namespace norix
