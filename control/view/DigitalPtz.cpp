#include "control/view/DigitalPtz.h"

#include <algorithm>
#include <cmath>

namespace norix {
namespace {

// From the window's axes to those of the picture as it was decoded.
WindowShare TurnBack(WindowShare share, Rotation rotation) {
    switch (rotation) {
        case Rotation::k90:
            return {share.y, 1 - share.x};
        case Rotation::k180:
            return {1 - share.x, 1 - share.y};
        case Rotation::k270:
            return {1 - share.y, share.x};
        case Rotation::k0:
            break;
    }
    return share;
}

struct Span {
    int begin;
    int end;
};

// One axis of ZoomAbout.
Span ZoomSpan(Span span, int whole, double about, double factor) {
    const int length = span.end - span.begin;
    const int least = (whole + kMostZoom - 1) / kMostZoom;
    const int wanted = static_cast<int>(std::clamp(std::round(length / factor), 1.0 * least, 1.0 * whole));
    const double fixed = span.begin + about * length;
    const int begin = std::clamp(static_cast<int>(std::lround(fixed - about * wanted)), 0, whole - wanted);
    return {begin, begin + wanted};
}

Span PanSpan(Span span, int whole, double moved) {
    const int length = span.end - span.begin;
    const int begin =
        std::clamp(span.begin - static_cast<int>(std::lround(moved * length)), 0, whole - length);
    return {begin, begin + length};
}

}  // namespace

PixelRect ZoomAbout(const PixelRect& source, PixelSize picture, Rotation rotation, WindowShare about,
                    double factor) {
    if (picture.IsEmpty() || source.IsEmpty() || !(factor > 0)) return source;
    const WindowShare at = TurnBack(about, rotation);
    const Span x = ZoomSpan({source.left, source.right}, picture.width, at.x, factor);
    const Span y = ZoomSpan({source.top, source.bottom}, picture.height, at.y, factor);
    return {x.begin, y.begin, x.end, y.end};
}

PixelRect Pan(const PixelRect& source, PixelSize picture, Rotation rotation, WindowShare moved) {
    if (picture.IsEmpty() || source.IsEmpty()) return source;
    const WindowShare from = TurnBack({0, 0}, rotation);
    const WindowShare to = TurnBack(moved, rotation);
    const Span x = PanSpan({source.left, source.right}, picture.width, to.x - from.x);
    const Span y = PanSpan({source.top, source.bottom}, picture.height, to.y - from.y);
    return {x.begin, y.begin, x.end, y.end};
}

}  // namespace norix
