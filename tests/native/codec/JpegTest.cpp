#include "codec/Jpeg.h"

#include <gtest/gtest.h>

#include "codec/ColorConvert.h"
#include "tests/native/codec/Corpus.h"

namespace codec::test {
namespace {

Bytes DecodeTo(JpegDecoder& decoder, const Bytes& jpeg, PixelFormat format) {
    JpegInfo info;
    EXPECT_EQ(decoder.ReadHeader(jpeg.data(), jpeg.size(), &info), Status::kOk);
    Bytes buffer(PictureBytes(format, info.width, info.height));
    EXPECT_EQ(decoder.Decode(jpeg.data(), jpeg.size(), {format, buffer.data(), buffer.size(), 0}),
              Status::kOk)
        << decoder.LibraryError();
    return buffer;
}

struct JpegCase {
    const char* chromaName;
    ChromaFormat chroma;
};

class JpegClip : public testing::TestWithParam<JpegCase> {
  protected:
    static Bytes Load(const char* size) {
        return LoadPackets(std::string("jpeg_") + GetParam().chromaName + "_" + size)[0];
    }
};

TEST_P(JpegClip, PlanesAreWithinTwoLevelsOfFfmpegs) {
    JpegDecoder decoder;
    for (const char* size : {"64x48", "177x145"}) {
        const Bytes jpeg = Load(size);
        PlanarPicture picture;
        ASSERT_EQ(decoder.DecodePlanar(jpeg.data(), jpeg.size(), &picture), Status::kOk);
        EXPECT_EQ(picture.chroma, GetParam().chroma);
        const Bytes expected = LoadRaw(std::string("jpeg_") + GetParam().chromaName + "_" + size);
        EXPECT_LE(GreatestDifference(Pack(picture), expected), 2) << size;
        EXPECT_FALSE(decoder.Damaged());
    }
}

TEST_P(JpegClip, EncodedPicturesComeBack) {
    JpegDecoder decoder;
    JpegEncoder encoder(90, GetParam().chroma);
    for (const char* size : {"177x145", "64x48"}) {
        const Bytes jpeg = Load(size);
        JpegInfo info;
        ASSERT_EQ(decoder.ReadHeader(jpeg.data(), jpeg.size(), &info), Status::kOk);
        for (PixelFormat format : {PixelFormat::kYuy2, PixelFormat::kBgr24}) {
            const Bytes picture = DecodeTo(decoder, jpeg, format);
            const std::uint8_t* encoded = nullptr;
            std::size_t encodedSize = 0;
            ASSERT_EQ(
                encoder.Encode(format, picture.data(), info.width, info.height, 0, &encoded, &encodedSize),
                Status::kOk)
                << encoder.LibraryError();
            const Bytes copy(encoded, encoded + encodedSize);
            JpegInfo again;
            ASSERT_EQ(decoder.ReadHeader(copy.data(), copy.size(), &again), Status::kOk);
            EXPECT_EQ(again.width, info.width);
            EXPECT_EQ(again.height, info.height);
            EXPECT_EQ(again.chroma, GetParam().chroma);
            const Bytes after = DecodeTo(decoder, copy, format);
            double difference = 0;
            for (std::size_t i = 0; i < after.size(); ++i)
                difference += std::abs(after[i] - picture[i]);
            EXPECT_LT(difference / static_cast<double>(after.size()), 6) << size;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Chroma, JpegClip,
                         testing::Values(JpegCase{"420", ChromaFormat::k420},
                                         JpegCase{"422", ChromaFormat::k422},
                                         JpegCase{"444", ChromaFormat::k444},
                                         JpegCase{"grey", ChromaFormat::kGrey}),
                         [](const auto& info) { return std::string(info.param.chromaName); });

TEST(JpegDecoder, ATruncatedPictureIsShownAsFarAsItGoes) {
    const Bytes jpeg = LoadPackets("jpeg_420_177x145")[0];
    JpegDecoder decoder;
    const Bytes whole = DecodeTo(decoder, jpeg, PixelFormat::kBgr24);
    const Bytes half =
        DecodeTo(decoder, Bytes(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2)),
                 PixelFormat::kBgr24);
    EXPECT_TRUE(decoder.Damaged());
    EXPECT_STRNE(decoder.LibraryError(), "");
    const std::size_t quarter = whole.size() / 4;
    EXPECT_TRUE(
        std::equal(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(quarter), half.begin()));
    DecodeTo(decoder, jpeg, PixelFormat::kBgr24);
    EXPECT_FALSE(decoder.Damaged());
}

TEST(JpegDecoder, UsesTheStandardHuffmanTablesWhereThereAreNone) {
    // FFmpeg writes optimised tables unless told otherwise; ours are the standard ones.
    const Bytes source = LoadPackets("jpeg_420_64x48")[0];
    JpegDecoder decoder;
    const Bytes picture = DecodeTo(decoder, source, PixelFormat::kBgr24);
    JpegEncoder encoder;
    const std::uint8_t* encoded = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(encoder.Encode(PixelFormat::kBgr24, picture.data(), 64, 48, 0, &encoded, &size), Status::kOk);
    const Bytes jpeg(encoded, encoded + size);
    Bytes bare(jpeg.begin(), jpeg.begin() + 2);
    for (std::size_t at = 2; at < jpeg.size();) {
        const std::uint8_t marker = jpeg[at + 1];
        std::size_t end = at + 2 + static_cast<std::size_t>(jpeg[at + 2] << 8 | jpeg[at + 3]);
        if (marker == 0xda) end = jpeg.size();
        if (marker != 0xc4) {
            bare.insert(bare.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(at),
                        jpeg.begin() + static_cast<std::ptrdiff_t>(end));
        }
        at = end;
    }
    ASSERT_LT(bare.size(), jpeg.size());
    EXPECT_EQ(DecodeTo(decoder, bare, PixelFormat::kBgr24), DecodeTo(decoder, jpeg, PixelFormat::kBgr24));
}

TEST(JpegDecoder, RefusesWhatItCantDecode) {
    const Bytes jpeg = LoadPackets("jpeg_420_64x48")[0];
    JpegDecoder decoder;
    JpegInfo info;
    EXPECT_EQ(decoder.ReadHeader(nullptr, 4, &info), Status::kBadArgument);
    EXPECT_EQ(decoder.ReadHeader(jpeg.data(), 0, &info), Status::kBadArgument);
    EXPECT_EQ(decoder.ReadHeader(jpeg.data(), 20, &info), Status::kBadData);
    Bytes noise(500, 0x5a);
    EXPECT_EQ(decoder.ReadHeader(noise.data(), noise.size(), &info), Status::kBadData);

    // A frame header that claims 16448 x 16448.
    Bytes huge = jpeg;
    for (std::size_t at = 0; at + 9 < huge.size(); ++at) {
        if (huge[at] == 0xff && huge[at + 1] == 0xc0)
            std::fill_n(huge.data() + at + 5, 4, std::uint8_t{0x40});
    }
    EXPECT_EQ(decoder.ReadHeader(huge.data(), huge.size(), &info), Status::kUnsupported);

    Bytes buffer(PictureBytes(PixelFormat::kBgr24, 64, 48) - 1);
    EXPECT_EQ(
        decoder.Decode(jpeg.data(), jpeg.size(), {PixelFormat::kBgr24, buffer.data(), buffer.size(), 0}),
        Status::kBufferTooSmall);
    EXPECT_EQ(
        decoder.Decode(jpeg.data(), jpeg.size(), {PixelFormat::kBgr24, buffer.data(), buffer.size(), 100}),
        Status::kBadArgument);

    JpegEncoder encoder;
    const std::uint8_t* encoded = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(encoder.Encode(PixelFormat::kBgr24, buffer.data(), kMaxDimension + 1, 1, 0, &encoded, &size),
              Status::kUnsupported);
    EXPECT_EQ(encoder.Encode(PixelFormat::kBgr24, nullptr, 8, 8, 0, &encoded, &size), Status::kBadArgument);
}

}  // namespace
}  // namespace codec::test
