#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace norix {

inline constexpr std::uint32_t kDefaultDisplayBufferNum = 6;
/// What the setting means where a number is wanted although none is set.
inline constexpr std::uint32_t kDefaultDisplayBufferSize = 0x900000;
/// The largest picture while the setting doesn't limit it: 7680 x 4320 in YUY2, 21 million pixels in BGR. A
/// decoder keeps several of them, and a 32-bit process has 2 GB.
inline constexpr std::uint32_t kLargestPictureBytes = 64u << 20;

/// The machine-wide settings of decoding and display. Read once per decoder.
struct DecoderSettings {
    bool enableTimeSync = true;  // pictures that come early are held until they are due
    bool enableVSync = false;
    std::uint32_t displayBufferNum = kDefaultDisplayBufferNum;
    std::optional<std::uint32_t> displayBufferSize;  // bytes of the largest picture; none: not limited by it
    bool smoothScaling = true;
};

/// The largest picture that is decoded, in bytes as the presenter wants it.
constexpr std::size_t LargestPicture(const DecoderSettings& settings) {
    return settings.displayBufferSize.value_or(kLargestPictureBytes);
}

/// What stored numbers mean. A size of 0 sets the number of buffers to what the size would have been and
/// leaves the size at 0: long-standing behaviour, on which no picture is shown at all.
constexpr DecoderSettings ApplyZeroRules(DecoderSettings settings) {
    if (settings.displayBufferNum == 0) settings.displayBufferNum = kDefaultDisplayBufferNum;
    if (settings.displayBufferSize == 0) settings.displayBufferNum = kDefaultDisplayBufferSize;
    return settings;
}

}  // namespace norix
