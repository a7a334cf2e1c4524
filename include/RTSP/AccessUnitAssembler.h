#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "include/RTSP/NalUnits.h"

namespace norix {

/// Joins NAL units to what a decoder takes at once, each unit behind a start code. Of H.264 that is
/// everything up to and including a slice, given out by Append; of H.265 it is a whole picture, which its
/// user ends by Finish when he sees that it is complete: in the stream, only the next one tells. Each key
/// frame brings parameter sets: where the stream leaves them out, the last ones it sent, or else the
/// description's, go before it. The memory is bounded: units that would not fit are dropped with all that
/// waits, and so is everything up to the next key frame, since it would build on what is missing. Pure; one
/// thread.
class AccessUnitAssembler {
  public:
    explicit AccessUnitAssembler(std::size_t capacity, NalSyntax syntax = NalSyntax::H264);

    enum class Outcome {
        Waiting,     // kept for what comes
        KeyFrame,    // Unit() is complete; decoding may begin with it
        OtherFrame,  // the same, but it builds on others
        Overflow,    // did not fit: dropped, with all that waited
        Skipped,     // dropped: builds on what was dropped before, or lacks its beginning
    };
    Outcome Append(ByteView nal);

    /// H.265: gives out the picture that waits; Waiting where there is none.
    Outcome Finish();
    /// H.265: slices of a picture wait.
    bool HasPicture() const { return m_slice && !m_delivered; }
    /// H.265: drops what waits.
    void Discard() { Begin(); }

    /// What has been put together: complete, until the next call, after KeyFrame and OtherFrame.
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
    bool HasSets() const { return m_sps && m_pps && (m_vps || m_syntax == NalSyntax::H264); }

    const std::size_t m_capacity;
    const NalSyntax m_syntax;
    const std::unique_ptr<std::uint8_t[]> m_buffer;
    std::size_t m_length = 0;
    bool m_delivered = false;  // Unit() has been given out and goes with the next Append
    bool m_skipToKeyFrame = false;
    std::vector<std::uint8_t> m_header;

    // Of the unit at hand.
    bool m_vps = false;  // H.265 only
    bool m_sps = false;
    bool m_pps = false;
    bool m_recoveryPoint = false;
    std::uint32_t m_recoveryFrames = 0;
    std::size_t m_delimiterEnd = 0;  // of the access unit delimiter at its beginning
    bool m_slice = false;            // H.265: there is one
    bool m_firstSlice = false;       // ... and its picture's first

    bool m_keyPicture = false;  // the last first slice began a key frame
};

}  // namespace norix
