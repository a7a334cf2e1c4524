#include "render/present/Geometry.h"

#include <algorithm>
#include <cstdint>

namespace norix {
namespace {

// value * numerator / denominator, rounded to the nearest integer. The sign of `value` is kept.
int Scale(int value, int numerator, int denominator) {
    const std::int64_t product = static_cast<std::int64_t>(value) * numerator;
    const std::int64_t half = denominator / 2;
    return static_cast<int>((product >= 0 ? product + half : product - half) / denominator);
}

// One axis of ClipStretch: the source span for the part [begin, end) of a target of `targetLength` pixels.
void ClipSpan(int begin, int end, int targetLength, int& sourceBegin, int& sourceEnd) {
    const int origin = sourceBegin;
    const int length = sourceEnd - sourceBegin;
    sourceBegin = origin + std::min(Scale(begin, length, targetLength), length - 1);
    sourceEnd = std::max(origin + Scale(end, length, targetLength), sourceBegin + 1);
}

}  // namespace

bool RotationFromDegrees(int degrees, Rotation& rotation) {
    if (degrees % 90 != 0) return false;
    rotation = static_cast<Rotation>((degrees % 360 + 360) % 360);
    return true;
}

PixelRect Whole(PixelSize size) {
    return {0, 0, size.width, size.height};
}

PixelRect Intersect(const PixelRect& a, const PixelRect& b) {
    const PixelRect common{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                           std::min(a.bottom, b.bottom)};
    return common.IsEmpty() ? PixelRect{} : common;
}

PixelRect Offset(const PixelRect& rect, int dx, int dy) {
    return {rect.left + dx, rect.top + dy, rect.right + dx, rect.bottom + dy};
}

PixelRect UsableSource(const PixelRect& source, PixelSize picture) {
    if (picture.IsEmpty()) return {};
    PixelRect grown = source;
    grown.right = std::max(grown.right, grown.left + 1);
    grown.bottom = std::max(grown.bottom, grown.top + 1);
    // An empty rectangle on the far edge still means the pixel next to it.
    if (grown.left == picture.width) grown = Offset(grown, -1, 0);
    if (grown.top == picture.height) grown = Offset(grown, 0, -1);
    const PixelRect usable = Intersect(grown, Whole(picture));
    return usable.IsEmpty() ? Whole(picture) : usable;
}

Stretch ClipStretch(const Stretch& stretch, const PixelRect& bounds) {
    const PixelRect visible = Intersect(stretch.target, bounds);
    if (stretch.IsEmpty() || visible.IsEmpty()) return {};
    Stretch clipped{stretch.source, visible};
    const PixelRect inTarget = Offset(visible, -stretch.target.left, -stretch.target.top);
    ClipSpan(inTarget.left, inTarget.right, stretch.target.Width(), clipped.source.left,
             clipped.source.right);
    ClipSpan(inTarget.top, inTarget.bottom, stretch.target.Height(), clipped.source.top,
             clipped.source.bottom);
    return clipped;
}

PixelRect WholePairs(const PixelRect& source, PixelSize picture) {
    return {source.left & ~1, source.top, std::min((source.right + 1) & ~1, picture.width), source.bottom};
}

PixelRect FitKeepingAspect(PixelSize picture, const PixelRect& area) {
    if (picture.IsEmpty() || area.IsEmpty()) return {};
    PixelSize fitted{area.Width(), Scale(picture.height, area.Width(), picture.width)};
    if (fitted.height > area.Height())
        fitted = {Scale(picture.width, area.Height(), picture.height), area.Height()};
    fitted.width = std::max(fitted.width, 1);
    fitted.height = std::max(fitted.height, 1);
    return Offset(Whole(fitted), area.left + (area.Width() - fitted.width) / 2,
                  area.top + (area.Height() - fitted.height) / 2);
}

PixelSize RotatedSize(PixelSize picture, Rotation rotation) {
    if (rotation == Rotation::k90 || rotation == Rotation::k270) return {picture.height, picture.width};
    return picture;
}

PixelRect RotateRect(const PixelRect& rect, PixelSize picture, Rotation rotation) {
    switch (rotation) {
        case Rotation::k90:
            return {picture.height - rect.bottom, rect.left, picture.height - rect.top, rect.right};
        case Rotation::k180:
            return {picture.width - rect.right, picture.height - rect.bottom, picture.width - rect.left,
                    picture.height - rect.top};
        case Rotation::k270:
            return {rect.top, picture.width - rect.right, rect.bottom, picture.width - rect.left};
        case Rotation::k0:
            break;
    }
    return rect;
}

PixelRect PictureToWindow(const PixelRect& rect, const PixelRect& source, PixelSize picture,
                          Rotation rotation, PixelSize window) {
    const PixelRect from = RotateRect(source, picture, rotation);
    if (from.IsEmpty()) return {};
    const PixelRect turned = Offset(RotateRect(rect, picture, rotation), -from.left, -from.top);
    return {Scale(turned.left, window.width, from.Width()), Scale(turned.top, window.height, from.Height()),
            Scale(turned.right, window.width, from.Width()),
            Scale(turned.bottom, window.height, from.Height())};
}

}  // namespace norix
