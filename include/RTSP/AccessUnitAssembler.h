#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "include/RTSP/NalUnits.h"

namespace norix {

/// Joins H.264 NAL units to what a decoder takes at once: everything up to and including a slice, each unit
/// behind a start code. Each key frame brings parameter sets: where the stream leaves them out, the last ones
/// it sent, or else the description's, go before it. The memory is bounded: units that would not fit are
/// dropped with all that waits, and so is everything up to the next key frame, since it would build on what
/// is missing. Pure; one thread.
class AccessUnitAssembler {
  public:
    explicit AccessUnitAssembler(std::size_t capacity);

    enum class Outcome {
        Waiting,     // kept for the next slice
        KeyFrame,    // Unit() is complete; decoding may begin with it
        OtherFrame,  // the same, but it builds on others
        Overflow,    // did not fit: dropped, with all that waited
        Skipped,     // dropped: builds on what was dropped before
    };
    Outcome Append(ByteView nal);

    /// What has been put together: complete, until the next Append, after KeyFrame and OtherFrame.
    ByteView Unit() const { return {m_buffer.get(), m_length}; }

    /// What is waiting now are the stream's parameter sets.
    void RememberAsHeader();
    ByteView Header() const { return m_header; }

  private:
    void Begin();
    bool Fits(std::size_t size) const { return size <= m_capacity - m_length; }
    void Note(const NalContents& contents);
    void InsertHeader();
    bool IsKey(const NalContents& contents) const;

    const std::size_t m_capacity;
    const std::unique_ptr<std::uint8_t[]> m_buffer;
    std::size_t m_length = 0;
    bool m_delivered = false;  // Unit() has been given out and goes with the next Append
    bool m_skipToKeyFrame = false;
    std::vector<std::uint8_t> m_header;

    // Of the unit at hand.
    bool m_sps = false;
    bool m_pps = false;
    bool m_recoveryPoint = false;
    std::uint32_t m_recoveryFrames = 0;
    std::size_t m_delimiterEnd = 0;  // of the access unit delimiter at its beginning

    bool m_keyPicture = false;  // the last first slice began a key frame
};

}  // namespace norix
