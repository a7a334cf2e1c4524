#pragma once

// Picture geometry: pure arithmetic on rectangles, without a Windows header, so that it runs on any host.
// All rectangles are half open: right and bottom lie just outside.

#include "codec/Rotation.h"

namespace norix {

struct PixelRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    bool IsEmpty() const { return right <= left || bottom <= top; }
    bool operator==(const PixelRect&) const = default;
};

struct PixelSize {
    int width = 0;
    int height = 0;
    bool IsEmpty() const { return width <= 0 || height <= 0; }
    bool operator==(const PixelSize&) const = default;
};

/// Clockwise quarter turns: the only angles a picture can be shown at.
using codec::Rotation;

/// Brings any whole multiple of 90, negative ones too, into 0..270. False, and `rotation` untouched, for
/// other angles.
bool RotationFromDegrees(int degrees, Rotation& rotation);

PixelRect Whole(PixelSize size);
PixelRect Intersect(const PixelRect& a, const PixelRect& b);
PixelRect Offset(const PixelRect& rect, int dx, int dy);

/// A source rectangle that can be stretched: cut to the picture and at least one pixel wide and high.
/// A rectangle that misses the picture altogether becomes the whole picture.
PixelRect UsableSource(const PixelRect& source, PixelSize picture);

struct Stretch {
    PixelRect source;
    PixelRect target;
    bool IsEmpty() const { return source.IsEmpty() || target.IsEmpty(); }
    bool operator==(const Stretch&) const = default;
};

/// Cuts a stretch to `bounds`, taking from the source what falls outside, so that what remains lies
/// where it lay before (to within one source pixel).
Stretch ClipStretch(const Stretch& stretch, const PixelRect& bounds);

/// Widened to whole pairs of columns, which is how YUY2 stores colour. The last column of a picture of odd
/// width is a pair by itself.
PixelRect WholePairs(const PixelRect& source, PixelSize picture);

/// The largest rectangle with the picture's proportions, centred in `area`.
PixelRect FitKeepingAspect(PixelSize picture, const PixelRect& area);

PixelSize RotatedSize(PixelSize picture, Rotation rotation);

/// Where a rectangle of the picture lies after the picture has been turned.
PixelRect RotateRect(const PixelRect& rect, PixelSize picture, Rotation rotation);

/// Where a rectangle of the picture appears in the window when `source` (picture coordinates, before
/// turning) fills the window. Not cut to the window.
PixelRect PictureToWindow(const PixelRect& rect, const PixelRect& source, PixelSize picture,
                          Rotation rotation, PixelSize window);

/// Bytes of one row of a 24-bit device-independent bitmap: padded to whole 32-bit words.
constexpr int DibRowBytes(int width) {
    return (width * 3 + 3) & ~3;
}

}  // namespace norix
