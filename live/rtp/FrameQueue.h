#pragma once

// Frames on their way from a depacketiser to the consumer: one is being put together, finished ones wait to
// be fetched. Usually there is none or one. One buffer holds all of them and is reused; it is bounded.

#include <utility>
#include <vector>

#include "live/rtp/ByteReader.h"

namespace live::rtp {

struct FrameInfo {
    std::uint32_t timestamp = 0;
    std::uint16_t sequence = 0;  // of the last packet
    bool marker = false;         // of the last packet
    std::uint32_t duration = 0;  // in ticks of the clock rate; 0: not known
    bool damagedBefore = false;  // something is missing between the frame before and this one
};

class FrameQueue {
  public:
    static constexpr std::size_t kMaxBytes = 4 * 1024 * 1024;
    static constexpr std::size_t kMaxFrames = 1024;  // more only gather when nobody fetches them

    /// The open frame. One that gets too large is dropped as a whole when it is committed.
    void append(Bytes bytes);
    void append(unsigned char byte) { append(Bytes(&byte, 1)); }
    std::size_t openSize() const { return m_bytes.size() - m_openStart; }
    Bytes open() const { return Bytes(m_bytes).subspan(m_openStart); }
    void discard();
    void commit(const FrameInfo& info);
    /// The first `size` bytes of the open frame are a frame; the rest stays open. False when there is no room
    /// for one more: nothing has changed then.
    bool commitFront(std::size_t size, const FrameInfo& info);
    /// Something that was sent is not here. The next frame that is committed says so; what is discarded or
    /// does not fit is missing without being told.
    void noteMissing() { m_missing = true; }

    struct Frame {
        Bytes bytes;  // valid until the next call that changes the queue
        FrameInfo info;
    };
    bool empty() const { return m_firstFrame == m_frames.size(); }
    Frame front() const;
    void pop();
    void clear();

  private:
    struct Entry {
        std::size_t start;
        std::size_t size;
        FrameInfo info;
    };
    void add(std::size_t size, const FrameInfo& info);
    void dropFetched();

    std::vector<unsigned char> m_bytes;
    std::vector<Entry> m_frames;
    std::size_t m_firstFrame = 0;
    std::size_t m_openStart = 0;
    bool m_overflow = false;
    bool m_missing = false;
};

}  // namespace live::rtp
