#include <gtest/gtest.h>

#include <algorithm>

#include "codec/Deinterlace.h"
#include "codec/Picture.h"
#include "codec/Rotate.h"
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

TEST(RotateBgr24, MovesEachPixelToItsPlace) {
    for (auto [width, height] :
         {std::pair{1, 1}, {1, 9}, {9, 1}, {4, 4}, {5, 3}, {64, 48}, {99, 131}, {33, 260}}) {
        const int sourceStride = width * 3 + 2;
        const Bytes source = NoiseBytes(PictureBytes(PixelFormat::kBgr24, width, height, sourceStride));
        for (Rotation rotation : {Rotation::k0, Rotation::k90, Rotation::k180, Rotation::k270}) {
            const bool quarter = rotation == Rotation::k90 || rotation == Rotation::k270;
            const int outWidth = quarter ? height : width;
            const int outHeight = quarter ? width : height;
            Bytes out(PictureBytes(PixelFormat::kBgr24, outWidth, outHeight));
            ASSERT_EQ(RotateBgr24(source.data(), sourceStride, width, height, out.data(), 0, rotation),
                      Status::kOk);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    int toX = x;
                    int toY = y;
                    if (rotation == Rotation::k90) toX = height - 1 - y, toY = x;
                    if (rotation == Rotation::k180) toX = width - 1 - x, toY = height - 1 - y;
                    if (rotation == Rotation::k270) toX = y, toY = width - 1 - x;
                    const auto* from = source.data() + y * sourceStride + x * 3;
                    ASSERT_TRUE(std::equal(from, from + 3, out.data() + (toY * outWidth + toX) * 3))
                        << width << 'x' << height << " by " << static_cast<int>(rotation) << " at " << x
                        << ',' << y;
                }
            }
        }
    }
}

}  // namespace
}  // namespace codec::test
