#pragma once

#include <limits>

namespace norix {

/// A window coordinate after the window has been stretched: half a pixel is added and the fraction dropped.
/// A result beyond the range of coordinates is limited to it.
inline int OnStretchedCanvas(int coordinate, double ratio) {
    const double stretched = coordinate * ratio + 0.5;
    if (!(stretched > std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    if (stretched >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(stretched);
}

}  // namespace norix
