#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace norix {

/// Where the time of a frame goes, from its arrival to the screen: for each time stamp the moment of every
/// stage, and one log line when the frame has been displayed. Off by default; while off a call costs one
/// test.
///
/// Any thread. A fixed ring holds the frames under way; the oldest is forgotten when it is full. Nothing is
/// allocated.
class FrameTimingTrace {
  public:
    enum Stage : std::uint32_t { kReceived = 1, kInserted = 2, kDecoded = 3, kDisplayed = 4 };
    static constexpr std::size_t kStages = 4;

    struct Times {
        std::uint32_t pts = 0;
        std::array<std::uint64_t, kStages> at{};  // 100 ns units, by stage - 1; 0 = not seen

        /// Milliseconds from one stage to another; -1 when either was not seen.
        double Between(Stage from, Stage to) const;
    };

    /// The ShowFrameTimeInfo switch is on and the trace has not been stopped.
    bool IsEnabled() const;

    /// Forgets all frames and takes no more until the next Start: the end of a connection. Not stopped at
    /// first.
    void Stop();
    void Start();

    void Record(std::uint32_t pts, Stage stage, std::uint64_t now);

    /// Ends the record of this time stamp and logs its line. False when there is none.
    bool Close(std::uint32_t pts, Times* times = nullptr);

  private:
    static constexpr std::size_t kFrames = 64;

    struct Slot {
        bool used = false;
        Times times;
    };

    Slot* Find(std::uint32_t pts);  // the youngest of that time stamp

    std::atomic<bool> m_stopped{false};

    std::mutex m_lock;
    // guarded by m_lock
    std::array<Slot, kFrames> m_slots;
    std::size_t m_next = 0;  // where the next frame goes
};

}  // namespace norix
