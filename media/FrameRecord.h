#pragma once

// The records in which received frames wait for decoding.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "media/FrameInfo.h"

namespace norix {

/// Type byte of a key frame; any other value is a frame that needs earlier ones.
inline constexpr std::uint8_t kKeyFrame = 0;

/// One compressed video frame. Belongs to whoever took it from a queue; the pool owns the memory.
struct VideoFrameRecord {
    std::uint8_t frameType = 0;       // 0 = key frame; H.264 gives 1, MPEG-4 its coding type 1 to 3
    std::uint32_t storedLength = 0;   // bytes in `data`
    std::uint32_t payloadLength = 0;  // the same: what consumers use as the length of the frame
    std::uint32_t headerLength = 0;   // bytes of the camera's header, which is not in `data`; 0 without one
    std::uint32_t pts = 0;            // milliseconds
    bool damagedBefore = false;       // something is missing between the frame before this one and this one
    FrameInfo info;
    std::uint32_t capacity = 0;  // bytes that `data` has room for; grows with the stream's frames
    std::unique_ptr<std::uint8_t[]> data;
};

/// One compressed audio frame.
struct AudioFrameRecord {
    std::uint32_t storedLength = 0;    // bytes in `data`
    std::uint32_t receivedLength = 0;  // bytes received, of which `data` may hold only the first
    std::uint32_t pts = 0;             // milliseconds
    std::unique_ptr<std::uint8_t[]> data;
};

}  // namespace norix
