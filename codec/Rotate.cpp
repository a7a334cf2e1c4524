#include "codec/Rotate.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "codec/Picture.h"

namespace codec {

namespace {

constexpr int kPixel = 3;
/// Source rows that a quarter turn takes at a time: few enough for a column of them to stay in the
/// first-level cache while its neighbours are read, many enough for whole cache lines of the destination.
constexpr int kRowsAtOnce = 128;

inline void CopyPixel(const std::uint8_t* from, std::uint8_t* to) {
    to[0] = from[0];
    to[1] = from[1];
    to[2] = from[2];
}

/// A pixel as a number, with one byte of its right neighbour on top.
inline std::uint32_t LoadWide(const std::uint8_t* pixel) {
    std::uint32_t value;
    std::memcpy(&value, pixel, sizeof value);
    return value;
}

/// Writes four pixels, each given with a stray fourth byte, as twelve bytes.
inline void StoreFour(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d, std::uint8_t* to) {
    // One word at a time: gathered in an array first, they would go through memory twice.
    const std::uint32_t first = (a & 0xffffff) | (b << 24);
    const std::uint32_t second = ((b >> 8) & 0xffff) | (c << 16);
    const std::uint32_t third = ((c >> 16) & 0xff) | (d << 8);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + 4, &second, sizeof second);
    std::memcpy(to + 8, &third, sizeof third);
}

/// `count` pixels, `step` bytes apart in the source, side by side in the destination. `wide`: four bytes may
/// be read at each of them.
void Gather(const std::uint8_t* from, std::ptrdiff_t step, int count, bool wide, std::uint8_t* to) {
    int i = 0;
    if (wide) {
        for (; i + 4 <= count; i += 4, from += 4 * step, to += 4 * kPixel) {
            StoreFour(LoadWide(from), LoadWide(from + step), LoadWide(from + 2 * step),
                      LoadWide(from + 3 * step), to);
        }
    }
    for (; i < count; ++i, from += step, to += kPixel)
        CopyPixel(from, to);
}

struct Geometry {
    std::ptrdiff_t from;  ///< source stride
    std::ptrdiff_t to;    ///< destination stride
    int width;            ///< of the source
    int height;
};

/// Column x of the source becomes a row of the destination, read upwards (clockwise) or downwards.
template <bool kClockwise>
void QuarterTurn(const std::uint8_t* source, std::uint8_t* destination, const Geometry& g) {
    for (int top = 0; top < g.height; top += kRowsAtOnce) {
        const int rows = std::min(kRowsAtOnce, g.height - top);
        for (int x = 0; x < g.width; ++x) {
            // Source rows [top, top + rows) and the piece of destination row that they become.
            const int firstRow = kClockwise ? top + rows - 1 : top;
            const int toRow = kClockwise ? x : g.width - 1 - x;
            const int toColumn = kClockwise ? g.height - top - rows : top;
            Gather(source + firstRow * g.from + x * kPixel, kClockwise ? -g.from : g.from, rows,
                   x + 1 < g.width, destination + toRow * g.to + toColumn * kPixel);
        }
    }
}

void HalfTurn(const std::uint8_t* source, std::uint8_t* destination, const Geometry& g) {
    for (int y = 0; y < g.height; ++y) {
        const std::uint8_t* row = source + (g.height - 1 - y) * g.from;
        std::uint8_t* to = destination + y * g.to;
        // The rightmost pixel alone, so that the others can be read four bytes at a time.
        CopyPixel(row + (g.width - 1) * kPixel, to);
        if (g.width > 1) Gather(row + (g.width - 2) * kPixel, -kPixel, g.width - 1, true, to + kPixel);
    }
}

}  // namespace

Status RotateBgr24(const std::uint8_t* source, int sourceStride, int width, int height,
                   std::uint8_t* destination, int destinationStride, Rotation rotation) {
    if (!source || !destination) return Status::kBadArgument;
    if (width < 1 || height < 1 || width > kMaxDimension || height > kMaxDimension)
        return Status::kBadArgument;
    const bool quarter = rotation == Rotation::k90 || rotation == Rotation::k270;
    const int sourceRow = width * kPixel;
    const int destinationRow = (quarter ? height : width) * kPixel;
    if (sourceStride == 0) sourceStride = sourceRow;
    if (destinationStride == 0) destinationStride = destinationRow;
    if (sourceStride < sourceRow || destinationStride < destinationRow) return Status::kBadArgument;

    const Geometry geometry = {sourceStride, destinationStride, width, height};
    switch (rotation) {
        case Rotation::k0:
            for (int y = 0; y < height; ++y) {
                std::memcpy(destination + y * geometry.to, source + y * geometry.from,
                            static_cast<std::size_t>(sourceRow));
            }
            return Status::kOk;
        case Rotation::k90:
            QuarterTurn<true>(source, destination, geometry);
            return Status::kOk;
        case Rotation::k180:
            HalfTurn(source, destination, geometry);
            return Status::kOk;
        case Rotation::k270:
            QuarterTurn<false>(source, destination, geometry);
            return Status::kOk;
    }
    return Status::kBadArgument;
}

}  // namespace codec
