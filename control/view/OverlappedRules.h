#pragma once

#include "render/present/Geometry.h"

namespace norix {

/// The least width and height to which the user can size an overlapped window.
inline constexpr int kLeastOverlappedSize = 32;

/// Where a window that is being dragged may go: inside its parent, in whose coordinates it is given. One that
/// is larger than the parent begins at its upper left corner.
PixelRect KeepInside(const PixelRect& proposed, PixelSize parent);

/// The size that a window being sized may have. A rectangle that is too small gives way at the edge that has
/// moved, which the last rectangle tells; it is all zero before the first time, and becomes the result.
PixelRect LimitSize(const PixelRect& proposed, PixelRect& last);

}  // namespace norix
