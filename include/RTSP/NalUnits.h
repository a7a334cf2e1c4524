#pragma once

// What a received NAL unit of H.264 or H.265 is. Pure.

#include <cstddef>
#include <cstdint>

#include "include/RTSP/FrameRules.h"

namespace norix {

/// Whose units they are.
enum class NalSyntax { H264, H265 };

/// Some cameras do not send one NAL unit where one is due, but several with start codes between them, or
/// with a start code in front: parameter sets and key picture as one fragmented unit, or a message and its
/// slice. All of it is one unit to whoever joins units with start codes, so this says what is inside.
struct NalContents {
    bool vps = false;  // H.265 only
    bool sps = false;
    bool pps = false;
    bool onlyDelimiter = false;  // an access unit delimiter and nothing else
    // a message that says that decoding may begin here (ITU-T H.264, D.2.8; H.265, D.3.8)
    bool recoveryPoint = false;
    bool slice = false;
    bool firstSlice = false;           // ... the first one of its picture
    bool idr = false;                  // ... of a picture that needs no other
    bool intra = false;                // ... whose own kind is I (H.264 only)
    std::uint32_t recoveryFrames = 0;  // after how many pictures the one at the recovery point is whole
    std::size_t parameterSets = 0;     // bytes up to the end of the last parameter set, prefix included
};

/// `nal` begins with a NAL unit's header or with a start code. Reads no further than to the first slice.
NalContents ContentsOf(NalSyntax syntax, ByteView nal);

/// H.265: whether `nal`, behind a slice, belongs to the next picture.
bool BeginsPicture(ByteView nal);

/// How long the start code at its beginning is: 0, 3 or 4.
std::size_t StartCodeLength(ByteView nal);

}  // namespace norix
