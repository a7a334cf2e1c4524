#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/FrameRecord.h"

namespace norix {

/// What is known of frames beside their data, while a codec has them: a picture may come out later than its
/// frame went in, and in another order. Decode thread only.
class FramesUnderWay {
  public:
    struct Frame {
        std::uint32_t pts = 0;  // milliseconds
        FrameInfo info;
    };

    /// Notes a frame; the result is the tag that goes through the codec with it. Allocates nothing.
    std::int64_t Add(const VideoFrameRecord& record) {
        m_sequence = (m_sequence + 1) & kSequenceMask;
        const std::int64_t tag = m_sequence << kPtsBits | record.pts;
        m_slots[SlotOf(tag)] = {tag, record.info};
        return tag;
    }

    /// The frame of that tag. One that went in very long ago has lost its information, but not its time.
    Frame Of(std::int64_t tag) const {
        const Slot& slot = m_slots[SlotOf(tag)];
        return {static_cast<std::uint32_t>(tag), slot.tag == tag ? slot.info : FrameInfo{}};
    }

  private:
    // Sixteen pictures at most wait for their turn (ITU-T H.264, A.3.1), each in as many frames as it has
    // slices.
    static constexpr std::size_t kSlots = 256;
    static constexpr int kPtsBits = 32;
    static constexpr std::int64_t kSequenceMask = 0x7fffffff;

    struct Slot {
        std::int64_t tag = -1;
        FrameInfo info;
    };
    static std::size_t SlotOf(std::int64_t tag) { return static_cast<std::size_t>(tag >> kPtsBits) % kSlots; }

    std::vector<Slot> m_slots = std::vector<Slot>(kSlots);
    std::int64_t m_sequence = 0;
};

}  // namespace norix
