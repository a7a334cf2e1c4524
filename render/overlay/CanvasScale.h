#pragma once

#include <limits>

namespace norix {

/// A window coordinate after the window has been stretched: half a pixel is added and the fraction dropped.
/// What no coordinate can hold stays at the largest there is.
inline int OnStretchedCanvas(int coordinate, double ratio) {
    const double stretched = coordinate * ratio + 0.5;
    if (!(stretched > std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    if (stretched >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(stretched);
}

}  // namespace norix
