#pragma once

// What becomes of motion windows between the camera, whose frame of reference they are in, and the video that
// they are edited on. Pure; any thread.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "camera/CameraRecords.h"

namespace norix {

/// Pixels of the video.
struct VideoBox {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    bool operator==(const VideoBox&) const = default;
};

/// The least width and height that a camera is given, in pixels of the video.
inline constexpr std::int32_t kLeastMotionSize = 32;

/// Whether a window may be called so: letters, digits and a few signs of ASCII; also nothing.
bool IsMotionName(std::string_view name);

/// Between the camera's frame of reference and a video of this size, rounded to the nearest pixel. A frame of
/// no size is the video itself.
VideoBox MotionToVideo(const MotionSettings& settings, const MotionWindow& window, std::int32_t videoWidth,
                       std::int32_t videoHeight);

/// A window as its user has left it.
struct MotionArea {
    std::string name;  // UTF-8
    VideoBox box;
};
using MotionAreas = std::array<std::optional<MotionArea>, 3>;  // none: the window is switched off

/// What saving comes to; the numbers are its results.
enum class MotionSaving {
    Saved = 1,
    Failed = 0,  // the camera has not taken them
    TooSmall = -1,
    BadName = -2,
};

/// Puts the areas, as far as they lie on the video, into the settings as they are sent to the camera; the
/// first one that can't be sent decides, and nothing is changed. What the user has not moved keeps the
/// camera's own numbers, whatever rounding would make of them.
MotionSaving TakeMotionAreas(MotionSettings& settings, const MotionAreas& areas, std::int32_t videoWidth,
                             std::int32_t videoHeight);

}  // namespace norix
