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

// What of it lies on the video; of no size when nothing does.
VideoBox Clip(const VideoBox& box, std::int32_t width, std::int32_t height) {
    const auto bounded = [](std::int64_t at, std::int32_t end) {
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(at, 0, end));
    };
    const std::int32_t left = bounded(box.left, width);
    const std::int32_t top = bounded(box.top, height);
    return {left, top, bounded(std::int64_t{box.left} + box.width, width) - left,
            bounded(std::int64_t{box.top} + box.height, height) - top};
}

// Where something begins and how long it is, along one axis.
struct Span {
    std::int32_t begin;
    std::int32_t size;
};

// Numbers go back unless the user has changed them. What he has changed lies within the frame of reference,
// whatever became of it by rounding.
void Take(std::int32_t& begin, std::int32_t& size, Span shown, Span edited, std::int32_t video,
          std::int32_t reference) {
    const bool moved = edited.begin != shown.begin;
    const bool sized = edited.size != shown.size;
    if (!moved && !sized) return;
    if (moved) begin = Scale(edited.begin, video, reference);
    if (sized) size = std::max(Scale(edited.begin + edited.size, video, reference) - begin, 1);
    const std::int32_t end = reference > 0 ? reference : video;
    if (std::int64_t{begin} + size <= end) return;
    if (!sized) begin = std::clamp(end - size, 0, std::max(begin, 0));
    size = std::max(std::min(size, end - begin), 1);
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
    std::array<VideoBox, 3> shown;
    std::array<VideoBox, 3> edited;
    for (std::size_t i = 0; i < areas.size(); ++i) {
        if (!areas[i]) continue;
        if (!IsMotionName(areas[i]->name)) return MotionSaving::BadName;
        shown[i] = MotionToVideo(settings, settings.windows[i], videoWidth, videoHeight);
        const VideoBox& box = areas[i]->box;
        edited[i] = box == shown[i] ? box : Clip(box, videoWidth, videoHeight);
        if (edited[i].width < kLeastMotionSize || edited[i].height < kLeastMotionSize)
            return MotionSaving::TooSmall;
    }
    for (std::size_t i = 0; i < areas.size(); ++i) {
        MotionWindow& window = settings.windows[i];
        window.enable = areas[i] ? 1 : 0;
        if (!areas[i]) continue;
        Take(window.left, window.width, {shown[i].left, shown[i].width}, {edited[i].left, edited[i].width},
             videoWidth, settings.referenceWidth);
        Take(window.top, window.height, {shown[i].top, shown[i].height}, {edited[i].top, edited[i].height},
             videoHeight, settings.referenceHeight);
        window.name = areas[i]->name;
    }
    return MotionSaving::Saved;
}

}  // namespace norix
