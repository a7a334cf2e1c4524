#pragma once

// From a decoded picture to the pixels of a window, in one pass: the part that is shown, turned, stretched,
// and widened to the 32 bits per pixel that bitmaps in memory are fastest with.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/Rotation.h"
#include "codec/Status.h"

namespace codec {

/// One at a time per thread. Allocates when the geometry changes only.
class BgrScaler {
  public:
    /// A rectangle of a BGR24 picture, top row first.
    struct Source {
        const std::uint8_t* pixels = nullptr;  ///< its top left pixel
        std::ptrdiff_t stride = 0;             ///< bytes to the next row, at least three times the width
        int width = 0;
        int height = 0;
    };
    /// Rows of 4 bytes per pixel: blue, green, red, 0.
    struct Target {
        std::uint8_t* pixels = nullptr;  ///< the top left pixel
        std::ptrdiff_t stride = 0;  ///< bytes to the row below; negative where the bottom row comes first
        int width = 0;
        int height = 0;
    };
    enum class Filter {
        kNearest,   ///< drops or repeats pixels
        kBilinear,  ///< mixes the four pixels around each point; softer, and two to five times the cost
    };

    /// Fills `target` with the turned source. kBadArgument for null pointers, strides that are too small,
    /// sizes outside 1..kMaxDimension (source) or 1..32767 (target). Throws std::bad_alloc. Reads nothing
    /// outside of the source's pixels.
    Status Scale(const Source& source, const Target& target, Rotation rotation, Filter filter);

  private:
    // Where a pixel is read along one direction of the target: bytes from the source's first pixel to the
    // nearest one, or to the two that are mixed. What the two directions give is added.
    struct Tap {
        std::ptrdiff_t first;
        std::ptrdiff_t second;
        std::uint32_t weight;  // of the second, 0..256
    };
    struct Axis {
        std::vector<std::ptrdiff_t> nearest;
        std::vector<Tap> taps;
    };
    struct Geometry {
        std::ptrdiff_t sourceStride = 0;
        int sourceWidth = 0;
        int sourceHeight = 0;
        int targetWidth = 0;
        int targetHeight = 0;
        Rotation rotation = Rotation::k0;
        Filter filter = Filter::kNearest;
        bool operator==(const Geometry&) const = default;
    };

    void Prepare(const Geometry& geometry);
    static void FillAxis(Axis& axis, int count, int sourceCount, std::ptrdiff_t step, bool backwards,
                         Filter filter);
    int StripWidth() const;
    void Nearest(const Source& source, const Target& target);
    void Bilinear(const Source& source, const Target& target);

    Geometry m_geometry;
    Axis m_columns;
    Axis m_rows;
    // True when the pixels of a target row stand side by side in the source.
    bool m_unscaledRows = false;
};

}  // namespace codec
