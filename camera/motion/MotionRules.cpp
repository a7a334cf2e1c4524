#include "camera/motion/MotionRules.h"

#include <algorithm>

namespace norix {
namespace {

constexpr std::string_view kNameCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!^*()_{}[]|:./?- ";

// Numbers come from the camera: any of them may be anything.
std::int32_t Scale(std::int32_t value, std::int32_t from, std::int32_t to) {
    if (from <= 0 || to <= 0) return value;
    const std::int64_t scaled =
        (std::int64_t{value} * to * 2 + (value < 0 ? -from : from)) / (std::int64_t{from} * 2);
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(scaled, INT32_MIN, INT32_MAX));
}

// The number goes back unless the user has changed it.
void Take(std::int32_t& stored, std::int32_t shown, std::int32_t edited, std::int32_t video,
          std::int32_t reference) {
    if (edited != shown) stored = Scale(edited, video, reference);
}

}  // namespace

bool IsMotionName(std::string_view name) {
    return name.find_first_not_of(kNameCharacters) == std::string_view::npos;
}

VideoBox MotionToVideo(const MotionSettings& settings, const MotionWindow& window, std::int32_t videoWidth,
                       std::int32_t videoHeight) {
    return {Scale(window.left, settings.referenceWidth, videoWidth),
            Scale(window.top, settings.referenceHeight, videoHeight),
            Scale(window.width, settings.referenceWidth, videoWidth),
            Scale(window.height, settings.referenceHeight, videoHeight)};
}

MotionSaving TakeMotionAreas(MotionSettings& settings, const MotionAreas& areas, std::int32_t videoWidth,
                             std::int32_t videoHeight) {
    for (const auto& area : areas) {
        if (!area) continue;
        if (!IsMotionName(area->name)) return MotionSaving::BadName;
        if (area->box.width < kLeastMotionSize || area->box.height < kLeastMotionSize)
            return MotionSaving::TooSmall;
    }
    for (std::size_t i = 0; i < areas.size(); ++i) {
        MotionWindow& window = settings.windows[i];
        window.enable = areas[i] ? 1 : 0;
        if (!areas[i]) continue;
        const VideoBox shown = MotionToVideo(settings, window, videoWidth, videoHeight);
        const VideoBox& edited = areas[i]->box;
        Take(window.left, shown.left, edited.left, videoWidth, settings.referenceWidth);
        Take(window.top, shown.top, edited.top, videoHeight, settings.referenceHeight);
        Take(window.width, shown.width, edited.width, videoWidth, settings.referenceWidth);
        Take(window.height, shown.height, edited.height, videoHeight, settings.referenceHeight);
        window.name = areas[i]->name;
    }
    return MotionSaving::Saved;
}

}  // namespace norix
