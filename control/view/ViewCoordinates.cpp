#include "control/view/ViewCoordinates.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace norix {

namespace {

// A place between pixels.
struct Place {
    double x;
    double y;
};

std::optional<long> Round(double value) {
    // Two roundings of the machine's own must not decide a half.
    constexpr double kHalf = 0.5 + 1e-9;
    const double rounded = std::floor(value + kHalf);
    // false for what is no number, too
    const bool fits = rounded >= std::numeric_limits<std::int32_t>::min() &&
                      rounded <= std::numeric_limits<std::int32_t>::max();
    return fits ? std::optional(static_cast<long>(rounded)) : std::nullopt;
}

std::optional<ViewPoint> Round(Place place) {
    const std::optional<long> x = Round(place.x);
    const std::optional<long> y = Round(place.y);
    if (!x || !y) return std::nullopt;
    return ViewPoint{*x, *y};
}

Place Turn(Place place, PixelSize picture, Rotation rotation) {
    switch (rotation) {
        case Rotation::k90:
            return {picture.height - place.y, place.x};
        case Rotation::k180:
            return {picture.width - place.x, picture.height - place.y};
        case Rotation::k270:
            return {place.y, picture.width - place.x};
        case Rotation::k0:
            break;
    }
    return place;
}

Place TurnBack(Place place, PixelSize picture, Rotation rotation) {
    const auto opposite = static_cast<Rotation>((360 - static_cast<int>(rotation)) % 360);
    return Turn(place, RotatedSize(picture, rotation), opposite);
}

bool IsUsable(ViewSize size) {
    return size.width >= 1 && size.height >= 1;
}

// One pixel in the other grid: how the mapping scales along the window's axes, and where the picture's part
// begins after turning.
struct Scaling {
    PixelSize picture;
    PixelRect turned;
    double perVideoX;  // picture pixels in one of the video's
    double perVideoY;
    double windowX;  // window pixels in one of the turned picture's
    double windowY;
};

std::optional<Scaling> ScalingOf(const ViewMapping& mapping) {
    if (!IsUsable(mapping.video) || !IsUsable(mapping.window)) return std::nullopt;
    Scaling scaling{mapping.picture, {}, 1, 1, 1, 1};
    if (mapping.picture.IsEmpty())
        scaling.picture = {static_cast<int>(mapping.video.width), static_cast<int>(mapping.video.height)};
    const PixelRect source =
        mapping.picture.IsEmpty() || mapping.source.IsEmpty() ? Whole(scaling.picture) : mapping.source;
    scaling.turned = RotateRect(source, scaling.picture, mapping.rotation);
    scaling.perVideoX = static_cast<double>(scaling.picture.width) / mapping.video.width;
    scaling.perVideoY = static_cast<double>(scaling.picture.height) / mapping.video.height;
    scaling.windowX = static_cast<double>(mapping.window.width) / scaling.turned.Width();
    scaling.windowY = static_cast<double>(mapping.window.height) / scaling.turned.Height();
    return scaling;
}

ViewPoint Corner(const ViewBox& box, bool right, bool bottom) {
    const auto add = [](long a, long b) {
        constexpr std::int64_t kLeast = std::numeric_limits<std::int32_t>::min();
        constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
        return static_cast<long>(std::clamp(std::int64_t{a} + b, kLeast, kMost));
    };
    return {add(box.corner.x, right ? box.size.width : 0), add(box.corner.y, bottom ? box.size.height : 0)};
}

// For widths and heights: whether the picture lies on its side.
bool SwapsAxes(Rotation rotation) {
    return rotation == Rotation::k90 || rotation == Rotation::k270;
}

}  // namespace

std::optional<ViewPoint> VideoToWindow(ViewPoint point, const ViewMapping& mapping) {
    const std::optional<Scaling> by = ScalingOf(mapping);
    if (!by) return std::nullopt;
    const Place turned =
        Turn({point.x * by->perVideoX, point.y * by->perVideoY}, by->picture, mapping.rotation);
    return Round(
        Place{(turned.x - by->turned.left) * by->windowX, (turned.y - by->turned.top) * by->windowY});
}

std::optional<ViewPoint> WindowToVideo(ViewPoint point, const ViewMapping& mapping) {
    const std::optional<Scaling> by = ScalingOf(mapping);
    if (!by) return std::nullopt;
    const Place place =
        TurnBack({point.x / by->windowX + by->turned.left, point.y / by->windowY + by->turned.top},
                 by->picture, mapping.rotation);
    return Round(Place{place.x / by->perVideoX, place.y / by->perVideoY});
}

std::optional<ViewBox> VideoToWindow(const ViewBox& box, const ViewMapping& mapping) {
    const std::optional<Scaling> by = ScalingOf(mapping);
    if (!by) return std::nullopt;
    Place size{box.size.width * by->perVideoX, box.size.height * by->perVideoY};
    if (SwapsAxes(mapping.rotation)) std::swap(size.x, size.y);
    const std::optional<ViewPoint> scaled = Round(Place{size.x * by->windowX, size.y * by->windowY});
    // The corner that comes to lie at the upper left.
    const bool right = mapping.rotation == Rotation::k180 || mapping.rotation == Rotation::k270;
    const bool bottom = mapping.rotation == Rotation::k90 || mapping.rotation == Rotation::k180;
    const std::optional<ViewPoint> corner = VideoToWindow(Corner(box, right, bottom), mapping);
    if (!scaled || !corner) return std::nullopt;
    return ViewBox{*corner, {scaled->x, scaled->y}};
}

std::optional<ViewBox> WindowToVideo(const ViewBox& box, const ViewMapping& mapping) {
    const std::optional<Scaling> by = ScalingOf(mapping);
    if (!by) return std::nullopt;
    Place size{box.size.width / by->windowX, box.size.height / by->windowY};
    if (SwapsAxes(mapping.rotation)) std::swap(size.x, size.y);
    const std::optional<ViewPoint> scaled = Round(Place{size.x / by->perVideoX, size.y / by->perVideoY});
    const bool right = mapping.rotation == Rotation::k90 || mapping.rotation == Rotation::k180;
    const bool bottom = mapping.rotation == Rotation::k180 || mapping.rotation == Rotation::k270;
    const std::optional<ViewPoint> corner = WindowToVideo(Corner(box, right, bottom), mapping);
    if (!scaled || !corner) return std::nullopt;
    return ViewBox{*corner, {scaled->x, scaled->y}};
}

std::wstring PointToJson(ViewPoint point) {
    return L"{ \"x\": " + std::to_wstring(point.x) + L", \"y\": " + std::to_wstring(point.y) + L" }";
}

}  // namespace norix
