#pragma once

// Digital pan, tilt and zoom by hand: which part of the picture fills the window. Pure. Parts are in picture
// coordinates; none leaves the picture, and none is smaller than a sixteenth of its width and height.

#include "render/present/Geometry.h"

namespace norix {

inline constexpr int kMostZoom = 16;

/// A place in the window, from 0 to 1 of its width and height.
struct WindowShare {
    double x = 0;
    double y = 0;
};

/// `factor` times larger (above 1) or smaller, about the place in the window, which goes on showing what it
/// shows.
PixelRect ZoomAbout(const PixelRect& source, PixelSize picture, Rotation rotation, WindowShare about,
                    double factor);

/// Moved so that the picture follows a hand which has gone this far over the window.
PixelRect Pan(const PixelRect& source, PixelSize picture, Rotation rotation, WindowShare moved);

}  // namespace norix
