#pragma once

// Reads what a camera says about a frame: from its header before the frame, or from inside an H.264, H.265
// or MPEG-4 frame. Pure; safe for any bytes. The format is described in docs/camera-interface.md.

#include <array>
#include <cstddef>
#include <cstdint>

#include "media/FrameInfo.h"
#include "media/MediaTypes.h"

namespace norix {

/// The header's fixed part; the time in seconds follows at this offset.
inline constexpr std::size_t kCameraHeaderSize = 32;
inline constexpr std::size_t kCameraHeaderTimeOffset = 32;

/// Events that a frame reported. Those beyond the capacity are left out.
struct FrameEvents {
    template <class T>
    struct List {
        std::array<T, 8> items{};
        std::size_t count = 0;

        void Add(const T& item) {
            if (count < items.size()) items[count++] = item;
        }
        const T* begin() const { return items.data(); }
        const T* end() const { return items.data() + count; }
    };

    struct MotionAlert {
        std::uint8_t windowId = 0;
        std::uint8_t percentage = 0;
    };
    struct Analytics {
        std::uint16_t index = 0;
        std::uint16_t functionType = 0;
    };
    struct General {
        std::uint16_t type = 0;
        std::uint8_t index = 0;
        std::uint8_t status = 0;
    };

    bool hasDigitalIo = false;
    std::uint8_t digitalInputs = 0;
    std::uint8_t digitalOutputs = 0;
    List<MotionAlert> motionAlerts;
    List<Analytics> analytics;
    List<General> general;
};

struct ParsedFrameInfo {
    std::size_t headerLength = 0;   // bytes before the frame proper; 0 = the frame is bare
    bool hasInformation = false;    // whether anything below was given
    bool signal = true;             // the camera sees a video signal
    std::uint32_t timeSeconds = 0;  // since 1970, UTC; 0 = not given
    std::uint32_t timeStampMs = 0;
    std::uint32_t sequence = 0;
    FrameInfo info;
    FrameEvents events;
};

ParsedFrameInfo ParseFrameInfo(VideoCodec codec, const std::uint8_t* data, std::size_t size);

}  // namespace norix
