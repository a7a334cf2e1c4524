#include <gtest/gtest.h>

#include <algorithm>

#include "codec/BgrScaler.h"
#include "codec/Deinterlace.h"
#include "codec/Picture.h"
#include "tests/native/codec/Corpus.h"

namespace codec::test {
namespace {

Bytes NoiseBytes(std::size_t count) {
    Random random(count);
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random.Next());
    return bytes;
}

TEST(DeinterlaceTriangle, WeighsEachRowWithItsNeighbours) {
    for (auto [rowBytes, rows, padding] :
         {std::tuple{1, 1, 0}, {1, 2, 3}, {15, 5, 0}, {16, 3, 1}, {70, 9, 0}, {481, 4, 7}}) {
        const int stride = rowBytes + padding;
        const std::size_t span = static_cast<std::size_t>(stride * (rows - 1) + rowBytes);
        const Bytes source = NoiseBytes(span);
        Bytes out(span, 0xee);
        ASSERT_EQ(DeinterlaceTriangle(source.data(), stride, out.data(), stride, rowBytes, rows),
                  Status::kOk);
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < stride && y * stride + x < static_cast<int>(span); ++x) {
                const auto at = [&, last = rows - 1](int row) {
                    return source[static_cast<std::size_t>(std::clamp(row, 0, last) * stride + x)];
                };
                const int expected = x < rowBytes ? (at(y - 1) + 2 * at(y) + at(y + 1) + 2) / 4 : 0xee;
                ASSERT_EQ(out[static_cast<std::size_t>(y * stride + x)], expected)
                    << rowBytes << ' ' << x << ' ' << y;
            }
        }
    }
}

TEST(DeinterlaceTriangle, RefusesOverlappingBuffers) {
    Bytes buffer(100);
    std::uint8_t* p = buffer.data();
    EXPECT_EQ(DeinterlaceTriangle(p, 10, p, 10, 10, 5), Status::kBadArgument) << "in place";
    EXPECT_EQ(DeinterlaceTriangle(p, 10, p + 49, 10, 10, 5), Status::kBadArgument) << "overlapping by a byte";
    EXPECT_EQ(DeinterlaceTriangle(p, 10, p + 50, 10, 10, 5), Status::kOk);
}

// The pixel of the turned picture at (x, y); held at the edges.
const std::uint8_t* TurnedPixel(const BgrScaler::Source& source, Rotation rotation, int x, int y) {
    const bool quarter = rotation == Rotation::k90 || rotation == Rotation::k270;
    x = std::clamp(x, 0, (quarter ? source.height : source.width) - 1);
    y = std::clamp(y, 0, (quarter ? source.width : source.height) - 1);
    int fromX = x;
    int fromY = y;
    if (rotation == Rotation::k90) fromX = y, fromY = source.height - 1 - x;
    if (rotation == Rotation::k180) fromX = source.width - 1 - x, fromY = source.height - 1 - y;
    if (rotation == Rotation::k270) fromX = source.width - 1 - y, fromY = x;
    return source.pixels + fromY * source.stride + fromX * 3;
}

TEST(BgrScaler, PutsEachPixelInItsPlaceTurnedAndStretched) {
    BgrScaler scaler;
    for (auto [width, height, toWidth, toHeight] : {std::tuple{1, 1, 1, 1},
                                                    {1, 1, 5, 3},
                                                    {9, 1, 4, 2},
                                                    {1, 9, 9, 1},
                                                    {64, 48, 64, 48},
                                                    {64, 48, 48, 64},
                                                    {99, 131, 40, 41},
                                                    {33, 260, 300, 70},
                                                    {20, 10, 41, 29},
                                                    {160, 90, 7, 5}}) {
        // The last row ends where the memory ends.
        const int stride = width * 3 + 2;
        const Bytes bytes = NoiseBytes(PictureBytes(PixelFormat::kBgr24, width, height, stride));
        const BgrScaler::Source source = {bytes.data(), stride, width, height};
        const std::ptrdiff_t toStride = toWidth * 4;
        Bytes out(static_cast<std::size_t>(toStride * toHeight));
        const BgrScaler::Target target = {out.data() + (toHeight - 1) * toStride, -toStride, toWidth,
                                          toHeight};
        for (Rotation rotation : {Rotation::k0, Rotation::k90, Rotation::k180, Rotation::k270}) {
            const bool quarter = rotation == Rotation::k90 || rotation == Rotation::k270;
            const int across = quarter ? height : width;
            const int down = quarter ? width : height;
            for (const auto filter : {BgrScaler::Filter::kNearest, BgrScaler::Filter::kBilinear}) {
                const bool smooth = filter == BgrScaler::Filter::kBilinear;
                std::fill(out.begin(), out.end(), std::uint8_t{0xee});
                ASSERT_EQ(scaler.Scale(source, target, rotation, filter), Status::kOk);
                for (int y = 0; y < toHeight; ++y) {
                    for (int x = 0; x < toWidth; ++x) {
                        // The two pixels that are mixed, the weight of the second in 256ths.
                        const int atX = (2 * x + 1) * across * 128 / toWidth - (smooth ? 128 : 0);
                        const int atY = (2 * y + 1) * down * 128 / toHeight - (smooth ? 128 : 0);
                        const double u = smooth ? (atX & 255) / 256.0 : 0;
                        const double v = smooth ? (atY & 255) / 256.0 : 0;
                        const auto row = [&](int fromY, int c) {
                            return TurnedPixel(source, rotation, atX >> 8, fromY)[c] * (1 - u) +
                                   TurnedPixel(source, rotation, (atX >> 8) + 1, fromY)[c] * u;
                        };
                        const std::uint8_t* pixel = target.pixels + y * target.stride + x * 4;
                        for (int c = 0; c < 3; ++c) {
                            // Mixing cuts to whole levels, twice.
                            ASSERT_NEAR(pixel[c], row(atY >> 8, c) * (1 - v) + row((atY >> 8) + 1, c) * v,
                                        smooth ? 2 : 0)
                                << width << 'x' << height << " to " << toWidth << 'x' << toHeight << " by "
                                << static_cast<int>(rotation) << " at " << x << ',' << y;
                        }
                        ASSERT_EQ(pixel[3], 0);
                    }
                }
            }
        }
    }
}

TEST(BgrScaler, RefusesWhatItCannotReadOrFill) {
    Bytes bytes(64);
    std::uint8_t* const p = bytes.data();
    BgrScaler scaler;
    const auto scale = [&](const BgrScaler::Source& source, const BgrScaler::Target& target) {
        return scaler.Scale(source, target, Rotation::k0, BgrScaler::Filter::kNearest);
    };
    EXPECT_EQ(scale({p, 6, 2, 2}, {p + 32, 8, 2, 2}), Status::kOk);
    EXPECT_EQ(scale({nullptr, 6, 2, 2}, {p, 8, 2, 2}), Status::kBadArgument);
    EXPECT_EQ(scale({p, 5, 2, 2}, {p + 32, 8, 2, 2}), Status::kBadArgument);
    EXPECT_EQ(scale({p, 6, 2, 0}, {p + 32, 8, 2, 2}), Status::kBadArgument);
    EXPECT_EQ(scale({p, 6, 2, 2}, {p + 32, 7, 2, 2}), Status::kBadArgument);
    EXPECT_EQ(scale({p, 6, 2, 2}, {p + 32, 1 << 20, 32768, 1}), Status::kBadArgument);
}

}  // namespace
}  // namespace codec::test
