#pragma once

// What a received H.264 NAL unit is. Pure.

#include <cstddef>
#include <cstdint>

#include "include/RTSP/FrameRules.h"

namespace norix {

/// Some cameras do not send one NAL unit where one is due, but several with start codes between them, or
/// with a start code in front: parameter sets and key picture as one fragmented unit, or a message and its
/// slice. All of it is one unit to whoever joins units with start codes, so this says what is inside.
struct NalContents {
    bool sps = false;
    bool pps = false;
    bool onlyDelimiter = false;  // an access unit delimiter and nothing else
    bool recoveryPoint = false;  // a message that says that decoding may begin here (ITU-T H.264, D.2.8)
    bool slice = false;
    bool firstSlice = false;           // ... the first one of its picture
    bool idr = false;                  // ... of a picture that needs no other
    bool intra = false;                // ... whose own kind is I
    std::uint32_t recoveryFrames = 0;  // after how many pictures the one at the recovery point is whole
    std::size_t parameterSets = 0;     // bytes up to the end of the last parameter set, prefix included
};

/// `nal` begins with a NAL unit's header or with a start code. Reads no further than to the first slice.
NalContents ContentsOf(ByteView nal);

/// How long the start code at its beginning is: 0, 3 or 4.
std::size_t StartCodeLength(ByteView nal);

}  // namespace norix
