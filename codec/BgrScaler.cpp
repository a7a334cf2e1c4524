#include "codec/BgrScaler.h"

#include <algorithm>
#include <cstring>

#include "codec/Picture.h"

namespace codec {

namespace {

constexpr int kPixel = 3;
constexpr int kWide = 4;
constexpr int kMaxTarget = 32767;  // what GDI's bitmaps and windows are bound to
// A quarter turn reads down the source's rows: as many columns of the target at a time as there are source
// rows whose cache lines stay in the first-level cache until the next target rows have used them up.
constexpr int kColumnsAtOnce = 64;

constexpr bool IsQuarter(Rotation rotation) {
    return rotation == Rotation::k90 || rotation == Rotation::k270;
}

// Reads a byte more than the pixel has: not for the source's last one.
inline std::uint32_t LoadWide(const std::uint8_t* pixel) {
    std::uint32_t value;
    std::memcpy(&value, pixel, sizeof value);
    return value & 0xffffff;
}

inline std::uint32_t LoadNarrow(const std::uint8_t* pixel) {
    return pixel[0] | static_cast<std::uint32_t>(pixel[1]) << 8 | static_cast<std::uint32_t>(pixel[2]) << 16;
}

// Two channels at a time, each with room for its product: a + (b - a) * weight / 256.
inline std::uint32_t Mix(std::uint32_t a, std::uint32_t b, std::uint32_t weight) {
    constexpr std::uint32_t kEven = 0x00ff00ff;
    const std::uint32_t even = ((a & kEven) * (256 - weight) + (b & kEven) * weight) >> 8 & kEven;
    const std::uint32_t odd = ((a >> 8 & 0xff) * (256 - weight) + (b >> 8 & 0xff) * weight) & 0xff00;
    return even | odd;
}

// The target is walked in strips of columns, and each strip from top to bottom; `row(y, from, to)` fills one
// row's part of a strip.
template <class Row>
void ForEachRow(int width, int height, int columnsAtOnce, Row row) {
    for (int from = 0; from < width; from += columnsAtOnce) {
        const int to = std::min(from + columnsAtOnce, width);
        for (int y = 0; y < height; ++y)
            row(y, from, to);
    }
}

}  // namespace

Status BgrScaler::Scale(const Source& source, const Target& target, Rotation rotation, Filter filter) {
    const auto within = [](int size, int most) { return size >= 1 && size <= most; };
    if (!source.pixels || !target.pixels || !within(source.width, kMaxDimension) ||
        !within(source.height, kMaxDimension) || !within(target.width, kMaxTarget) ||
        !within(target.height, kMaxTarget) || source.stride < source.width * kPixel ||
        std::abs(target.stride) < target.width * kWide)
        return Status::kBadArgument;
    Prepare({source.stride, source.width, source.height, target.width, target.height, rotation, filter});
    if (filter == Filter::kNearest)
        Nearest(source, target);
    else
        Bilinear(source, target);
    return Status::kOk;
}

void BgrScaler::Prepare(const Geometry& geometry) {
    if (m_geometry == geometry) return;
    m_geometry = {};  // stays so when there is no memory
    const bool quarter = IsQuarter(geometry.rotation);
    const bool columnsBackwards = geometry.rotation == Rotation::k90 || geometry.rotation == Rotation::k180;
    const bool rowsBackwards = geometry.rotation == Rotation::k180 || geometry.rotation == Rotation::k270;
    const int across = quarter ? geometry.sourceHeight : geometry.sourceWidth;
    const int down = quarter ? geometry.sourceWidth : geometry.sourceHeight;
    FillAxis(m_columns, geometry.targetWidth, across, quarter ? geometry.sourceStride : kPixel,
             columnsBackwards, geometry.filter);
    FillAxis(m_rows, geometry.targetHeight, down, quarter ? kPixel : geometry.sourceStride, rowsBackwards,
             geometry.filter);
    m_unscaledRows = geometry.rotation == Rotation::k0 && across == geometry.targetWidth;
    m_geometry = geometry;
}

void BgrScaler::FillAxis(Axis& axis, int count, int sourceCount, std::ptrdiff_t step, bool backwards,
                         Filter filter) {
    axis.nearest.clear();
    axis.taps.clear();
    const auto offset = [&](std::int64_t at) {
        const auto bounded = std::clamp<std::int64_t>(at, 0, sourceCount - 1);
        return static_cast<std::ptrdiff_t>(backwards ? sourceCount - 1 - bounded : bounded) * step;
    };
    for (std::int64_t i = 0; i < count; ++i) {
        // The middle of the target's pixel, in 256ths of a source pixel.
        const std::int64_t middle = (2 * i + 1) * sourceCount * 128 / count;
        if (filter == Filter::kNearest) {
            axis.nearest.push_back(offset(middle >> 8));
        } else {
            const std::int64_t first = (middle - 128) >> 8;
            axis.taps.push_back(
                {offset(first), offset(first + 1), static_cast<std::uint32_t>((middle - 128) & 255)});
        }
    }
}

int BgrScaler::StripWidth() const {
    return IsQuarter(m_geometry.rotation) ? kColumnsAtOnce : m_geometry.targetWidth;
}

void BgrScaler::Nearest(const Source& source, const Target& target) {
    const std::ptrdiff_t last =
        (source.height - 1) * source.stride + static_cast<std::ptrdiff_t>(source.width - 1) * kPixel;
    const std::ptrdiff_t* const columns = m_columns.nearest.data();
    const std::ptrdiff_t rightmost = std::max(m_columns.nearest.front(), m_columns.nearest.back());
    const auto fill = [&](int y, int from, int to) {
        std::uint8_t* const line = target.pixels + y * target.stride;
        const std::ptrdiff_t row = m_rows.nearest[static_cast<std::size_t>(y)];
        if (y > 0 && m_rows.nearest[static_cast<std::size_t>(y - 1)] == row) {
            std::memcpy(line + from * kWide, line - target.stride + from * kWide,
                        static_cast<std::size_t>(to - from) * kWide);
            return;
        }
        const std::uint8_t* const pixels = source.pixels + row;
        const auto write = [&](auto load) {
            for (int x = from; x < to; ++x) {
                const std::uint32_t pixel = load(x);
                std::memcpy(line + x * kWide, &pixel, kWide);
            }
        };
        if (row + rightmost == last)
            write([&](int x) { return LoadNarrow(pixels + columns[x]); });
        else if (m_unscaledRows)
            write([&](int x) { return LoadWide(pixels + x * kPixel); });
        else
            write([&](int x) { return LoadWide(pixels + columns[x]); });
    };
    ForEachRow(target.width, target.height, StripWidth(), fill);
}

void BgrScaler::Bilinear(const Source& source, const Target& target) {
    const std::ptrdiff_t last =
        (source.height - 1) * source.stride + static_cast<std::ptrdiff_t>(source.width - 1) * kPixel;
    const Tap* const columns = m_columns.taps.data();
    std::ptrdiff_t rightmost = 0;
    for (const Tap& tap : m_columns.taps)
        rightmost = std::max({rightmost, tap.first, tap.second});
    const auto fill = [&](int y, int from, int to) {
        std::uint8_t* const line = target.pixels + y * target.stride;
        const Tap& row = m_rows.taps[static_cast<std::size_t>(y)];
        const std::uint8_t* const above = source.pixels + row.first;
        const std::uint8_t* const below = source.pixels + row.second;
        const auto write = [&](auto load) {
            for (int x = from; x < to; ++x) {
                const Tap& tap = columns[x];
                const std::uint32_t pixel =
                    Mix(Mix(load(above + tap.first), load(above + tap.second), tap.weight),
                        Mix(load(below + tap.first), load(below + tap.second), tap.weight), row.weight);
                std::memcpy(line + x * kWide, &pixel, kWide);
            }
        };
        if (std::max(row.first, row.second) + rightmost == last)
            write(LoadNarrow);
        else
            write(LoadWide);
    };
    ForEachRow(target.width, target.height, StripWidth(), fill);
}

}  // namespace codec
