#include "codec/ColorConvert.h"

#include <gtest/gtest.h>

#include <tuple>

#include "codec/PackRows.h"
#include "tests/native/codec/Corpus.h"

namespace codec::test {
namespace {

/// A picture of noise whose planes end where they must, so that a sanitizer sees reading beyond.
struct Noise {
    Noise(int width, int height, ChromaFormat chroma, int bitDepth = 8) {
        Random random(static_cast<std::uint64_t>(width * 131 + height));
        m_picture.width = width;
        m_picture.height = height;
        m_picture.chroma = chroma;
        m_picture.bitDepth = bitDepth;
        const int sampleBytes = bitDepth > 8 ? 2 : 1;
        for (int plane = 0; plane < (chroma == ChromaFormat::kGrey ? 1 : 3); ++plane) {
            const int w = plane == 0 ? width : ChromaWidth(chroma, width);
            const int h = plane == 0 ? height : ChromaHeight(chroma, height);
            Bytes& samples = m_planes[plane];
            samples.resize(static_cast<std::size_t>(w * h * sampleBytes));
            for (std::size_t i = 0; i < samples.size(); ++i) {
                samples[i] = static_cast<std::uint8_t>(random.Next());
                if (sampleBytes == 2 && i % 2 == 1)
                    samples[i] &= static_cast<std::uint8_t>((1 << (bitDepth - 8)) - 1);
            }
            m_picture.planes[plane] = samples.data();
            m_picture.strides[plane] = w * sampleBytes;
        }
    }

    PlanarPicture m_picture;
    Bytes m_planes[3];
};

using Case = std::tuple<ChromaFormat, PixelFormat>;
class Conversion : public testing::TestWithParam<Case> {};

TEST_P(Conversion, IsWithinOneLevelOfTheEquations) {
    const auto [chroma, format] = GetParam();
    ColorConverter converter;
    for (auto [width, height] :
         {std::pair{1, 1}, {2, 2}, {3, 5}, {15, 7}, {16, 4}, {17, 6}, {33, 9}, {177, 35}}) {
        Noise noise(width, height, chroma);
        for (int variant = 0; variant < 8; ++variant) {
            const bool fullRange = variant & 1;
            const bool interlaced = variant & 2;
            noise.m_picture.fullRange = fullRange;
            noise.m_picture.interlaced = interlaced;
            noise.m_picture.matrix = variant & 4 ? ColourMatrix::kBt709 : ColourMatrix::kBt601;
            Bytes out(PictureBytes(format, width, height));
            ASSERT_EQ(converter.Convert(noise.m_picture, {format, out.data(), out.size(), 0}), Status::kOk);
            EXPECT_LE(DifferenceFromReference(out, noise.m_picture, format), 1)
                << width << 'x' << height << (fullRange ? " full" : " limited") << (interlaced ? " i" : " p")
                << (variant & 4 ? " 709" : " 601");
        }
    }
}

TEST_P(Conversion, LeavesThePaddingAlone) {
    const auto [chroma, format] = GetParam();
    const int width = 37;
    const int height = 3;
    const Noise noise(width, height, chroma);
    const int stride = RowBytes(format, width) + 5;
    Bytes out(PictureBytes(format, width, height, stride), 0xee);
    Bytes tight(PictureBytes(format, width, height));
    ColorConverter converter;
    ASSERT_EQ(converter.Convert(noise.m_picture, {format, out.data(), out.size(), stride}), Status::kOk);
    ASSERT_EQ(converter.Convert(noise.m_picture, {format, tight.data(), tight.size(), 0}), Status::kOk);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const std::size_t row = i / static_cast<std::size_t>(stride);
        const std::size_t column = i % static_cast<std::size_t>(stride);
        const std::size_t rowBytes = static_cast<std::size_t>(RowBytes(format, width));
        ASSERT_EQ(out[i], column < rowBytes ? tight[row * rowBytes + column] : 0xee) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, Conversion,
                         testing::Combine(testing::Values(ChromaFormat::k420, ChromaFormat::k422,
                                                          ChromaFormat::k440, ChromaFormat::k444,
                                                          ChromaFormat::kGrey),
                                          testing::Values(PixelFormat::kYuy2, PixelFormat::kBgr24)));

TEST(ColorConverter, BringsDeepSamplesToEightBits) {
    ColorConverter converter;
    for (int bitDepth : {9, 10, 12, 16}) {
        const Noise noise(35, 6, ChromaFormat::k420, bitDepth);
        for (PixelFormat format : {PixelFormat::kYuy2, PixelFormat::kBgr24}) {
            Bytes out(PictureBytes(format, 35, 6));
            ASSERT_EQ(converter.Convert(noise.m_picture, {format, out.data(), out.size(), 0}), Status::kOk);
            EXPECT_LE(DifferenceFromReference(out, noise.m_picture, format), 2) << bitDepth;
        }
    }
}

TEST(ColorConverter, BothInstructionSetsGiveTheSame) {
    if (!__builtin_cpu_supports("ssse3")) GTEST_SKIP() << "no SSSE3 here";
    const Noise noise(1000, 2, ChromaFormat::k444);
    for (ChromaPitch pitch : {ChromaPitch::kHalf, ChromaPitch::kFull}) {
        for (int width : {1, 16, 47, 1000}) {
            Bytes first(static_cast<std::size_t>(width) * 3);
            Bytes second(first.size());
            const auto& planes = noise.m_picture.planes;
            PackBgrRowSse2(planes[0], planes[1], planes[2], pitch, {}, width, first.data());
            PackBgrRowSsse3(planes[0], planes[1], planes[2], pitch, {}, width, second.data());
            EXPECT_EQ(first, second) << width;
        }
    }
}

TEST(ColorConverter, RefusesImpossiblePictures) {
    ColorConverter converter;
    Noise noise(16, 16, ChromaFormat::k420);
    Bytes out(16 * 16 * 3);
    const OutputPicture good = {PixelFormat::kBgr24, out.data(), out.size(), 0};
    const auto convert = [&](auto change) {
        PlanarPicture picture = noise.m_picture;
        change(picture);
        return converter.Convert(picture, good);
    };
    EXPECT_EQ(convert([](PlanarPicture&) {}), Status::kOk);
    EXPECT_EQ(convert([](PlanarPicture& p) { p.width = 0; }), Status::kBadArgument);
    EXPECT_EQ(convert([](PlanarPicture& p) { p.planes[2] = nullptr; }), Status::kBadArgument);
    EXPECT_EQ(convert([](PlanarPicture& p) { p.strides[1] = 7; }), Status::kBadArgument);
    EXPECT_EQ(
        convert([](PlanarPicture& p) { p.bitDepth = 17, p.strides[0] = p.strides[1] = p.strides[2] = 64; }),
        Status::kUnsupported);
    EXPECT_EQ(convert([](PlanarPicture& p) { p.height = 17; }), Status::kBufferTooSmall);
    EXPECT_EQ(converter.Convert(noise.m_picture, {PixelFormat::kBgr24, out.data(), out.size(), 47}),
              Status::kBadArgument);
}

TEST(Yuy2ToBgr24, AgreesWithTheDirectConversion) {
    for (auto [width, height] : {std::pair{2, 1}, {16, 2}, {46, 3}, {1030, 2}, {2500, 1}}) {
        const Noise noise(width, height, ChromaFormat::k422);
        ColorConverter converter;
        Bytes yuy2(PictureBytes(PixelFormat::kYuy2, width, height));
        Bytes direct(PictureBytes(PixelFormat::kBgr24, width, height));
        Bytes indirect(direct.size());
        ASSERT_EQ(converter.Convert(noise.m_picture, {PixelFormat::kYuy2, yuy2.data(), yuy2.size(), 0}),
                  Status::kOk);
        ASSERT_EQ(converter.Convert(noise.m_picture, {PixelFormat::kBgr24, direct.data(), direct.size(), 0}),
                  Status::kOk);
        ASSERT_EQ(ConvertYuy2ToBgr24(yuy2.data(), 0, width, height, indirect.data(), 0), Status::kOk);
        EXPECT_EQ(indirect, direct) << width;
    }
    // An odd row stores no V for its last pixel.
    const std::uint8_t odd[] = {235, 128, 235, 128, 235, 128};
    std::uint8_t bgr[9];
    ASSERT_EQ(ConvertYuy2ToBgr24(odd, 0, 3, 1, bgr, 0), Status::kOk);
    for (std::uint8_t level : bgr)
        EXPECT_EQ(level, 255);
    EXPECT_EQ(ConvertYuy2ToBgr24(odd, 5, 3, 1, bgr, 0), Status::kBadArgument);
    EXPECT_EQ(ConvertYuy2ToBgr24(odd, 0, 3, 0, bgr, 0), Status::kBadArgument);
}

}  // namespace
}  // namespace codec::test
