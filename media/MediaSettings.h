#pragma once

#include <cstdint>
#include <optional>

namespace norix {

/// What the setting means where a number is wanted although none is set.
inline constexpr std::uint32_t kDefaultVideoBufferSize = 800000;
/// The largest frame while the setting doesn't limit it: a JPEG of twenty million pixels, or a key frame that
/// takes a second at 128 Mbit/s.
inline constexpr std::uint32_t kLargestVideoFrame = 16u << 20;

/// The machine-wide settings of a connection's buffers, with their defaults. Read once per CCtrlParam.
struct MediaSettings {
    std::uint32_t videoBufferNum = 10;             // video frame records
    std::optional<std::uint32_t> videoBufferSize;  // payload bytes of the largest; none: not limited by it
    std::uint32_t audioBufferNum = 10;
    std::uint32_t audioBufferSize = 4096;
    bool enableDecodeFrameDrop = true;   // a full pool drops frames instead of holding up the receiver
    bool enableDisplayFrameDrop = true;  // decoded pictures and audio may be dropped too
};

/// What the time-stamp monitor compares with; read anew for every frame while the monitor is on.
struct PtsSettings {
    std::uint32_t targetMs = 33;
    std::uint32_t rangeMs = 5;
};

}  // namespace norix
