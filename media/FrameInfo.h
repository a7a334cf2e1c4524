#pragma once

// What a camera tells about a frame beside its picture: motion regions, digital I/O, events. The byte layout
// is described for camera authors in docs/camera-interface.md; here it is in the order of this machine.

#include <array>
#include <cstddef>
#include <cstdint>

namespace norix {

inline constexpr std::size_t kRegionCount = 3;

/// One motion or analytics region: 14 bytes, as in the camera's record.
struct RegionRecord {
    std::uint8_t enabled = 0;  // 1 = the region is in use
    std::uint8_t reserved = 0;
    std::uint16_t x = 0;  // in the frame of FrameInfo::referenceSize
    std::uint16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint8_t threshold = 0;  // the region is in alarm while threshold <= level
    std::uint8_t level = 0;
    std::uint8_t reservedTail[2] = {0, 0};

    bool InAlarm() const { return enabled == 1 && threshold <= level; }
};
static_assert(sizeof(RegionRecord) == 14);

/// Travels with the frame record to the decoder.
struct FrameInfo {
    std::array<RegionRecord, kRegionCount> regions;
    std::uint32_t digitalIo = 0;  // inputs << 16 | outputs, one bit per port
    std::uint32_t referenceSize =
        0;  // width << 16 | height of the frame that regions refer to; 0 = the picture

    int ReferenceWidth() const { return static_cast<int>(referenceSize >> 16); }
    int ReferenceHeight() const { return static_cast<int>(referenceSize & 0xFFFF); }
};
static_assert(sizeof(FrameInfo::regions) == 42);

}  // namespace norix
