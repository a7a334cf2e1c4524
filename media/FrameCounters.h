#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace norix {

struct FrameCounts {
    std::uint32_t received = 0;
    std::uint32_t decoded = 0;
    std::uint32_t displayed = 0;
};

/// How many frames came how far since the last reset. Any thread.
class FrameCounters {
  public:
    enum Which : std::uint32_t { kReceived = 0, kDecoded = 1, kDisplayed = 2, kResetAll = 3 };

    /// Adds one to the counter, or clears all three; other values do nothing.
    void Count(std::uint32_t which);

    /// 0 for anything but the three counters.
    std::uint32_t Get(std::uint32_t which) const;

    /// Reads all and clears them in one step, so that no frame falls in between.
    FrameCounts Take();

  private:
    mutable std::mutex m_lock;
    std::array<std::uint32_t, 3> m_counts{};  // guarded by m_lock
};

}  // namespace norix
