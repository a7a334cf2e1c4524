#pragma once

#include <optional>
#include <string>

#include "render/present/Geometry.h"

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

/// A rectangle by its upper left corner and its size.
struct ViewBox {
    ViewPoint corner;
    ViewSize size;
};

/// Where the video lies in the window: the host's coordinates refer to `video`, which stands for the whole
/// picture as it was decoded; of the picture, `source` fills the window after it has been turned.
struct ViewMapping {
    ViewSize video;
    ViewSize window;
    PixelSize picture{};  // empty while there is none: the whole video fills the window then
    PixelRect source{};
    Rotation rotation = Rotation::k0;
};

/// Convert between pixels of the video and of the window, rounding to the nearest one; what one gives, the
/// other takes back. Nothing when a dimension is below 1, or the result leaves the 32-bit range. Pure.
std::optional<ViewPoint> VideoToWindow(ViewPoint point, const ViewMapping& mapping);
std::optional<ViewPoint> WindowToVideo(ViewPoint point, const ViewMapping& mapping);

/// The same for rectangles: the size is scaled by itself, so that it stays the same wherever the rectangle
/// is.
std::optional<ViewBox> VideoToWindow(const ViewBox& box, const ViewMapping& mapping);
std::optional<ViewBox> WindowToVideo(const ViewBox& box, const ViewMapping& mapping);

/// The point as the JSON text that ConvertCoordinateInJSON returns.
std::wstring PointToJson(ViewPoint point);

}  // namespace norix
