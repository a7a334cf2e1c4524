#pragma once

#include <cstdint>

namespace norix {

inline constexpr std::uint32_t kDefaultDisplayBufferNum = 6;
inline constexpr std::uint32_t kDefaultDisplayBufferSize = 0x900000;

/// The machine-wide settings of decoding and display. Read once per decoder.
struct DecoderSettings {
    bool enableTimeSync = true;  // pictures that come early are held until they are due
    bool enableVSync = false;
    std::uint32_t displayBufferNum = kDefaultDisplayBufferNum;
    std::uint32_t displayBufferSize = kDefaultDisplayBufferSize;  // bytes of each picture buffer
};

/// What stored numbers mean. A size of 0 sets the number of buffers to what the size would have been and
/// leaves the size at 0: long-standing behaviour, on which no picture is shown at all.
constexpr DecoderSettings ApplyZeroRules(DecoderSettings settings) {
    if (settings.displayBufferNum == 0) settings.displayBufferNum = kDefaultDisplayBufferNum;
    if (settings.displayBufferSize == 0) settings.displayBufferNum = kDefaultDisplayBufferSize;
    return settings;
}

}  // namespace norix
