#pragma once

#include <cstdint>

namespace norix {

/// The machine-wide settings of a connection's buffers, with their defaults. Read once per CCtrlParam.
struct MediaSettings {
    std::uint32_t videoBufferNum = 10;       // video frame records
    std::uint32_t videoBufferSize = 800000;  // payload bytes of each
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
