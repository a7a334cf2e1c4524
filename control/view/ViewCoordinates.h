#pragma once

#include <optional>
#include <string>

namespace norix {

/// A width and a height, in pixels.
struct ViewSize {
    long width = 0;
    long height = 0;
};

struct ViewPoint {
    long x = 0;
    long y = 0;
};

/// Scales a point from one pixel grid to another (video to window or back), rounding to the nearest pixel.
/// Nothing when a dimension is below 1, or the result leaves the 32-bit range. Pure.
std::optional<ViewPoint> ConvertPoint(ViewPoint point, ViewSize from, ViewSize to);

/// The point as the JSON text that ConvertCoordinateInJSON returns.
std::wstring PointToJson(ViewPoint point);

}  // namespace norix
