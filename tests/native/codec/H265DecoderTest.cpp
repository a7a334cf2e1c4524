#include "codec/H265Decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/native/codec/Corpus.h"

namespace codec::test {
namespace {

/// What a stream gives, and how many pictures came with their own packets.
struct Decoded {
    std::vector<Reference> sums;
    std::size_t atOnce = 0;
};

Decoded DecodeAll(H265Decoder& decoder, const std::vector<Bytes>& packets) {
    Decoded decoded;
    PlanarPicture picture;
    for (const Bytes& packet : packets) {
        if (!decoder.IsInitialised() && decoder.Initialise(packet.data(), packet.size()) != Status::kOk)
            continue;
        if (decoder.DecodePlanar(packet.data(), packet.size(), &picture) == Status::kOk)
            decoded.sums.push_back(SumOf(picture));
    }
    decoded.atOnce = decoded.sums.size();
    while (decoder.DrainPlanar(&picture) == Status::kOk)
        decoded.sums.push_back(SumOf(picture));
    return decoded;
}

class H265Clip : public testing::TestWithParam<const char*> {};

TEST_P(H265Clip, GivesTheSamePicturesAsFfmpeg) {
    const std::string clip = std::string("h265_") + GetParam();
    const std::vector<Bytes> packets = LoadPackets(clip);
    for (int threads : {1, 3}) {
        H265Decoder decoder(threads);
        const Decoded decoded = DecodeAll(decoder, packets);
        EXPECT_EQ(decoded.sums, LoadReferences(clip)) << threads << " threads";
        if (clip.find("main_b") == std::string::npos && clip.find("layers") == std::string::npos) {
            EXPECT_EQ(decoded.atOnce, packets.size()) << "each comes with its own packet";
        }
    }
}

// Ten bits are shown as eight.
TEST_P(H265Clip, IsConvertedAndAnnounced) {
    const std::vector<Bytes> packets = LoadPackets(std::string("h265_") + GetParam());
    int width = 0;
    int height = 0;
    ASSERT_EQ(H265Decoder::Announced(packets[0].data(), packets[0].size(), &width, &height), Status::kOk);
    EXPECT_EQ(H265Decoder::Announced(packets[1].data(), packets[1].size(), &width, &height),
              Status::kNoPicture);
    for (PixelFormat format : {PixelFormat::kYuy2, PixelFormat::kBgr24}) {
        H265Decoder packed;
        H265Decoder planar;
        ASSERT_EQ(packed.Initialise(packets[0].data(), packets[0].size()), Status::kOk);
        ASSERT_EQ(planar.Initialise(packets[0].data(), packets[0].size()), Status::kOk);
        EXPECT_EQ(packed.Width(), width);
        EXPECT_EQ(packed.Height(), height);
        Bytes buffer(PictureBytes(format, width, height));
        PlanarPicture reference;
        Status status = Status::kNoPicture;
        for (std::size_t i = 0; i < packets.size() && status != Status::kOk; ++i) {
            status = packed.Decode(packets[i].data(), packets[i].size(),
                                   {format, buffer.data(), buffer.size(), 0});
            ASSERT_EQ(planar.DecodePlanar(packets[i].data(), packets[i].size(), &reference), status);
        }
        ASSERT_EQ(status, Status::kOk);
        EXPECT_EQ(reference.width, width);
        EXPECT_EQ(reference.height, height);
        EXPECT_LE(DifferenceFromReference(buffer, reference, format), 2);
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, H265Clip,
                         testing::Values("main_64x48", "main_b_352x288", "slices_640x368", "wpp_640x368",
                                         "layers_320x240", "refresh_320x240", "full_range_178x146",
                                         "main10_178x146", "main_1920x1080", "main_3840x2160"),
                         [](const auto& info) { return std::string(info.param); });

// A picture that is lost costs itself; those that refer to it see the one before instead of grey, and from
// the next key frame on all is right.
TEST(H265Decoder, ConcealsWhatIsMissingUpToTheNextKeyFrame) {
    const std::vector<Bytes> packets = LoadPackets("h265_slices_640x368");  // groups of five
    const std::vector<Reference> exact = LoadReferences("h265_slices_640x368");
    for (const int threads : {1, 3}) {
        H265Decoder whole(threads);
        H265Decoder lossy(threads);
        PlanarPicture right;
        PlanarPicture seen;
        for (std::size_t i = 0; i < packets.size(); ++i) {
            if (i == 0) {
                ASSERT_EQ(whole.Initialise(packets[0].data(), packets[0].size()), Status::kOk);
                ASSERT_EQ(lossy.Initialise(packets[0].data(), packets[0].size()), Status::kOk);
            }
            ASSERT_EQ(whole.DecodePlanar(packets[i].data(), packets[i].size(), &right), Status::kOk);
            if (i == 2) continue;
            const UnitInfo unit{static_cast<std::int64_t>(i), i == 3};
            ASSERT_EQ(lossy.DecodePlanar(packets[i].data(), packets[i].size(), &seen, unit), Status::kOk);
            EXPECT_EQ(lossy.Info().tag, unit.tag);
            if (i < 2 || i >= 5) {
                EXPECT_EQ(SumOf(seen), exact[i]) << i;
                continue;
            }
            const Bytes a = Pack(right);
            const Bytes b = Pack(seen);
            ASSERT_EQ(a.size(), b.size());
            std::size_t difference = 0;
            for (std::size_t at = 0; at < a.size(); ++at)
                difference += static_cast<std::size_t>(std::abs(a[at] - b[at]));
            EXPECT_LT(difference / a.size(), 16u) << "picture " << i << ": grey differs by 50";
        }
    }
}

TEST(H265Decoder, OpensWithParameterSetsAndKeepsThem) {
    const std::vector<Bytes> packets = LoadPackets("h265_main_64x48");
    H265Decoder decoder;
    EXPECT_EQ(decoder.Initialise(packets[3].data(), packets[3].size()), Status::kNeedKeyFrame);
    ASSERT_EQ(decoder.Initialise(packets[0].data(), packets[0].size()), Status::kOk);
    // Opened anew amid the stream, it knows them still.
    EXPECT_EQ(decoder.Initialise(packets[3].data(), packets[3].size()), Status::kOk);
    std::vector<Bytes> later(packets.begin() + 8, packets.end());
    std::vector<Reference> expected = LoadReferences("h265_main_64x48");
    expected.erase(expected.begin(), expected.begin() + 8);
    EXPECT_EQ(DecodeAll(decoder, later).sums, expected);
    // 16384 x 16 never reaches the library.
    const Bytes wide = {0x0, 0x0,  0x1, 0x42, 0x1,  0x1,  0x1,  0x60, 0x0, 0x0,  0x3,
                        0x0, 0x90, 0x0, 0x0,  0x3,  0x0,  0x0,  0x3,  0x0, 0x5d, 0xa0,
                        0x0, 0x20, 0x0, 0x84, 0x50, 0x80, 0x80, 0x80, 0x80};
    int width = 0;
    int height = 0;
    EXPECT_EQ(H265Decoder::Announced(wide.data(), wide.size(), &width, &height), Status::kUnsupported);
    EXPECT_EQ(width, 16384);
    EXPECT_EQ(height, 16);
    for (std::size_t cut = 0; cut < packets[0].size() && cut < 120; ++cut)
        (void)H265Decoder::Announced(packets[0].data(), cut, &width, &height);
}

TEST(H265Decoder, HigherSpeedsLeaveOutWhatTheTableSays) {
    struct Case {
        const char* clip;
        std::size_t keyFrames;
    };
    for (const Case& c : {Case{"h265_main_b_352x288", 2}, Case{"h265_layers_320x240", 1}}) {
        const std::vector<Bytes> packets = LoadPackets(c.clip);
        std::size_t before = packets.size();
        for (int speed = 0; speed <= 7; ++speed) {
            H265Decoder decoder;
            decoder.SetSpeed(speed);
            const std::vector<Reference> sums = DecodeAll(decoder, packets).sums;
            EXPECT_EQ(sums == LoadReferences(c.clip), speed == 0) << c.clip << ", speed " << speed;
            EXPECT_LE(sums.size(), before) << c.clip << ", speed " << speed;
            if (speed <= 4) {
                EXPECT_EQ(sums.size(), packets.size()) << c.clip << ", speed " << speed;
            }
            if (speed == 6) {
                EXPECT_LT(sums.size(), packets.size()) << c.clip;
            }
            if (speed == 7) {
                EXPECT_EQ(sums.size(), c.keyFrames) << c.clip;
            }
            before = sums.size();
        }
    }
}

// Whatever comes: no crash, and the next key frame is right.
TEST(H265Decoder, GetsOverDamagedFrames) {
    const char* const all = std::getenv("NORIX_ALL");
    const int frames = all && *all == '1' ? kDamagedFrames : kDamagedFrames / 20;
    const std::vector<Bytes> packets = LoadPackets("h265_main_64x48");  // groups of eight, the first of IDR
    const std::vector<Reference> exact = LoadReferences("h265_main_64x48");
    Random random(7);
    H265Decoder decoder;
    PlanarPicture picture;
    ASSERT_EQ(decoder.Initialise(packets[0].data(), packets[0].size()), Status::kOk);
    for (int i = 0; i < frames; ++i) {
        const Bytes damaged =
            Corrupt(packets[random.Below(static_cast<std::uint32_t>(packets.size()))], random);
        (void)decoder.DecodePlanar(damaged.data(), damaged.size(), &picture);
        if (i % 16 != 15) continue;
        // The library may hold pictures back that damage has announced.
        decoder.Close();
        ASSERT_EQ(decoder.Initialise(packets[0].data(), packets[0].size()), Status::kOk) << i;
        ASSERT_EQ(decoder.DecodePlanar(packets[0].data(), packets[0].size(), &picture), Status::kOk) << i;
        ASSERT_EQ(SumOf(picture), exact[0]) << i;
    }
}

}  // namespace
}  // namespace codec::test
