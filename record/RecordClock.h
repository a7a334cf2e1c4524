#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "record/FrameRate.h"

namespace norix {

/// When the frames of a connection were taken, in milliseconds of one clock that never goes back: what a
/// recording places pictures and sound by.
///
/// A frame's timestamp says that best, but its origin is arbitrary and may change while the stream runs (the
/// server is restarted, its sender reports arrive). So each stream has an offset to the time of arrival,
/// which follows the least delay by half a thousandth at most, as clocks differ; a timestamp that leaves what
/// can be believed gets a new offset. Streams whose offsets are close share one, since then their timestamps
/// are of one clock, and so are in step.
///
/// One thread at a time.
class RecordClock {
  public:
    enum Stream { kVideo, kAudio };

    /// `pts` and `now` in milliseconds, both wrap.
    std::int64_t Place(Stream stream, std::uint32_t pts, std::uint32_t now);
    /// When the last frame arrived, by the same clock.
    std::int64_t LastArrival() const { return m_arrival; }
    void Reset();

  private:
    struct Mapping {
        bool known = false;
        std::int64_t pts = 0;     // unwrapped
        std::int64_t offset = 0;  // of a frame's time to its timestamp
        std::int64_t windowEnd = 0;
        std::int64_t leastDelay = 0;  // in the window
    };

    std::int64_t Arrival(std::uint32_t now);
    void Follow(Mapping& mapping, std::uint32_t pts, std::int64_t arrival);

    std::optional<std::uint32_t> m_now;
    std::int64_t m_arrival = 0;
    std::array<Mapping, 2> m_streams;
};

/// The rate of a stream from the distances of its last pictures.
class RateEstimate {
  public:
    /// The time of the next picture, as RecordClock places it.
    void Add(std::int64_t time);
    void Reset() { *this = RateEstimate(); }
    /// Nothing before there have been enough pictures.
    std::optional<FrameRate> Rate() const;

  private:
    static constexpr std::size_t kKept = 64;
    static constexpr std::size_t kEnough = 12;

    std::array<std::int32_t, kKept> m_distances{};
    std::size_t m_count = 0;  // of all there have been
    std::optional<std::int64_t> m_last;
};

}  // namespace norix
