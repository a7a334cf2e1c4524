#include "codec/H264Decoder.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "codec/H264Headers.h"
#include "tests/native/codec/Corpus.h"

namespace codec::test {
namespace {

/// The sums of all pictures that a stream gives, with where each came from: the packet's number, or -1 from
/// the end.
struct Decoded {
    std::vector<Reference> sums;
    std::vector<int> packets;
};

Decoded DecodeAll(H264Decoder& decoder, const std::vector<Bytes>& packets) {
    Decoded decoded;
    PlanarPicture picture;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        if (decoder.DecodePlanar(packets[i].data(), packets[i].size(), &picture) == Status::kOk) {
            decoded.sums.push_back(SumOf(picture));
            decoded.packets.push_back(static_cast<int>(i));
        }
    }
    while (decoder.DrainPlanar(&picture) == Status::kOk) {
        decoded.sums.push_back(SumOf(picture));
        decoded.packets.push_back(-1);
    }
    return decoded;
}

Status Open(H264Decoder& decoder, const Bytes& packet) {
    return decoder.Initialise(packet.data(), packet.size());
}

OutputPicture OutputTo(Bytes& buffer, PixelFormat format) {
    return {format, buffer.data(), buffer.size(), 0};
}

class H264Clip : public testing::TestWithParam<const char*> {};

TEST_P(H264Clip, GivesTheSamePicturesAsFfmpeg) {
    const std::string clip = std::string("h264_") + GetParam();
    const std::vector<Bytes> packets = LoadPackets(clip);
    for (int threads : {1, 3}) {
        H264Decoder decoder(threads);
        ASSERT_EQ(Open(decoder, packets[0]), Status::kOk);
        const Decoded decoded = DecodeAll(decoder, packets);
        EXPECT_EQ(decoded.sums, LoadReferences(clip)) << threads << " threads";
        // Without B-frames every packet gives its own picture.
        if (clip == "h264_baseline_64x48") {
            EXPECT_EQ(decoded.packets.back(), static_cast<int>(packets.size()) - 1);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, H264Clip,
                         testing::Values("baseline_64x48", "main_b_352x288", "high_slices_640x360",
                                         "interlaced_720x576", "full_range_320x240", "high422_322x242",
                                         "high444_177x145", "high10_176x144", "high_1920x1080",
                                         "high_3840x2160"),
                         [](const auto& info) { return std::string(info.param); });

/// The packets cut behind each slice, as receivers hand them on.
std::vector<Bytes> SlicesOf(const std::vector<Bytes>& packets) {
    std::vector<Bytes> slices;
    for (const Bytes& packet : packets) {
        std::size_t begin = 0;
        bool slice = false;
        for (std::size_t at = 0; at + 3 < packet.size(); ++at) {
            if (packet[at] != 0 || packet[at + 1] != 0 || packet[at + 2] != 1) continue;
            const std::size_t unit = at > 0 && packet[at - 1] == 0 ? at - 1 : at;
            if (slice) {
                slices.emplace_back(packet.begin() + static_cast<std::ptrdiff_t>(begin),
                                    packet.begin() + static_cast<std::ptrdiff_t>(unit));
                begin = unit;
            }
            const int type = packet[at + 3] & 0x1f;
            slice = type == 1 || type == 5;
        }
        slices.emplace_back(packet.begin() + static_cast<std::ptrdiff_t>(begin), packet.end());
    }
    return slices;
}

TEST(H264Decoder, TakesPicturesSliceBySlice) {
    const std::string clip = "h264_high_slices_640x360";
    const std::vector<Bytes> packets = LoadPackets(clip);
    std::vector<Bytes> slices = SlicesOf(packets);
    ASSERT_GE(slices.size(), 2 * packets.size());
    for (int threads : {1, 3}) {
        H264Decoder decoder(threads);
        ASSERT_EQ(Open(decoder, slices[0]), Status::kOk);
        EXPECT_EQ(DecodeAll(decoder, slices).sums, LoadReferences(clip)) << threads << " threads";
    }
    // A stream of whole pictures that goes over to slices, and back.
    H264Decoder decoder;
    ASSERT_EQ(Open(decoder, packets[0]), Status::kOk);
    DecodeAll(decoder, packets);
    DecodeAll(decoder, slices);
    EXPECT_EQ(DecodeAll(decoder, slices).sums, LoadReferences(clip));
    DecodeAll(decoder, packets);
    EXPECT_EQ(DecodeAll(decoder, packets).sums, LoadReferences(clip));

    // A picture without its end isn't shown; from the next key frame on all is right again.
    const auto perPicture = static_cast<std::ptrdiff_t>(slices.size() / packets.size());
    slices.erase(slices.begin() + perPicture - 1);
    H264Decoder lossy;
    ASSERT_EQ(Open(lossy, slices[0]), Status::kOk);
    const Decoded decoded = DecodeAll(lossy, slices);
    EXPECT_LT(decoded.sums.size(), packets.size());
    ASSERT_FALSE(decoded.sums.empty());
    EXPECT_EQ(decoded.sums.back(), LoadReferences(clip).back());
}

TEST(H264Decoder, AskingWithoutInputNeverBreaksTheOrderOfBFrames) {
    const std::vector<Bytes> packets = LoadPackets("h264_main_b_352x288");
    H264Decoder decoder;
    ASSERT_EQ(Open(decoder, packets[0]), Status::kOk);
    std::vector<Reference> sums;
    PlanarPicture picture;
    for (const Bytes& packet : packets) {
        if (decoder.DecodePlanar(packet.data(), packet.size(), &picture) == Status::kOk)
            sums.push_back(SumOf(picture));
        EXPECT_EQ(decoder.DecodePlanar(nullptr, 0, &picture), Status::kNoPicture);
    }
    EXPECT_LT(sums.size(), packets.size()) << "the clip has no reordering";
    while (decoder.DrainPlanar(&picture) == Status::kOk)
        sums.push_back(SumOf(picture));
    EXPECT_EQ(sums, LoadReferences("h264_main_b_352x288"));

    // A new stream after the end of the first.
    EXPECT_EQ(DecodeAll(decoder, packets).sums, sums);
}

// frame.
TEST(H264ParameterSets, KnowWhatDecodingDependsOn) {
    const Bytes first = {0x67, 0x42, 0, 0x1E, 0xF4, 0x23, 0xD3, 0x40, 0x7F, 0x70};
    const auto decodingAfter = [&](const Bytes& sps) {
        ParameterSets sets(NalCodec::kH264);
        for (const Bytes& nal : {first, sps}) {
            NalUnit unit;
            unit.sets[unit.setCount++] = {nal.data(), nal.size()};
            EXPECT_EQ(sets.Take(unit), Status::kOk);
        }
        return sets.Decoding();
    };
    const std::uint64_t decoding = decodingAfter(first);
    const Bytes fullRange = {0x67, 0x42, 0, 0x1E, 0xF4, 0x23, 0xD3, 0x60, 0x7F, 0x70};
    const Bytes timed = {0x67, 0x42, 0,    0x1E, 0xF4, 0x23, 0xD3, 0x44, 0,    0,    0x3F, 0xFF,
                         0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x98, 0xFF, 0xFF, 0xFF, 0x1F, 0xDC};
    const Bytes reordered = {0x67, 0x42, 0, 0x1E, 0xF4, 0x23, 0xD3, 0x40, 0x7E, 0x9C};
    const Bytes withoutOrder = {0x67, 0x42, 0, 0x1E, 0xF4, 0x23, 0xC8};
    const Bytes wider = {0x67, 0x42, 0, 0x1E, 0xF4, 0x2B, 0xD3, 0x40, 0x7F, 0x70};
    EXPECT_EQ(decodingAfter(fullRange), decoding);
    EXPECT_EQ(decodingAfter(timed), decoding);
    EXPECT_NE(decodingAfter(reordered), decoding);
    EXPECT_NE(decodingAfter(withoutOrder), decoding);
    EXPECT_NE(decodingAfter(wider), decoding);
}

TEST(H264Decoder, OpensAtKeyFramesOnly) {
    const std::vector<Bytes> packets = LoadPackets("h264_baseline_64x48");
    H264Decoder decoder;
    PlanarPicture picture;
    Bytes buffer(64 * 48 * 3);
    EXPECT_EQ(Open(decoder, packets[3]), Status::kNeedKeyFrame);
    EXPECT_FALSE(decoder.IsInitialised());
    EXPECT_EQ(decoder.DecodePlanar(packets[0].data(), packets[0].size(), &picture), Status::kNotInitialised);
    EXPECT_EQ(Open(decoder, Bytes{0}), Status::kNeedKeyFrame);
    EXPECT_EQ(decoder.Initialise(nullptr, 5), Status::kBadArgument);

    // Opened, but joined in the middle of a group of pictures: nothing until the next key frame (each 8th
    // here).
    ASSERT_EQ(Open(decoder, packets[0]), Status::kOk);
    for (std::size_t i = 3; i < 8; ++i) {
        EXPECT_NE(decoder.DecodePlanar(packets[i].data(), packets[i].size(), &picture), Status::kOk) << i;
    }
    EXPECT_EQ(decoder.DecodePlanar(packets[8].data(), packets[8].size(), &picture), Status::kOk);
    EXPECT_EQ(SumOf(picture), LoadReferences("h264_baseline_64x48")[8]);
}

TEST(H264Decoder, HigherSpeedsLeaveOutWhatTheTableSays) {
    // Groups of 20 with three B-frames in a row, the middle one of which is referred to.
    const std::vector<Bytes> packets = LoadPackets("h264_main_b_352x288");
    const std::vector<Reference> exact = LoadReferences("h264_main_b_352x288");
    std::vector<std::size_t> pictures;
    for (int speed = 0; speed <= 7; ++speed) {
        H264Decoder decoder;
        decoder.SetSpeed(speed);
        ASSERT_EQ(Open(decoder, packets[0]), Status::kOk);
        const Decoded decoded = DecodeAll(decoder, packets);
        pictures.push_back(decoded.sums.size());
        EXPECT_EQ(decoded.sums == exact, speed == 0) << "speed " << speed;
    }
    for (std::size_t speed = 0; speed <= 4; ++speed)
        EXPECT_EQ(pictures[speed], packets.size()) << "speed " << speed;
    EXPECT_LT(pictures[5], pictures[4]);
    EXPECT_LT(pictures[6], pictures[5]);
    EXPECT_EQ(pictures[7], 2u);
}

TEST(H264Decoder, DamageLeavesTheGroupsAroundItWhole) {
    // Two groups of 20 with B-frames: those that wait for their turn at the second key frame must not be
    // lost.
    std::vector<Bytes> packets = LoadPackets("h264_main_b_352x288");
    const std::vector<Reference> exact = LoadReferences("h264_main_b_352x288");
    packets[10].resize(packets[10].size() / 2);
    H264Decoder decoder;
    ASSERT_EQ(Open(decoder, packets[0]), Status::kOk);
    const std::vector<Reference> sums = DecodeAll(decoder, packets).sums;
    ASSERT_EQ(sums.size(), exact.size());
    for (std::size_t i = 0; i < sums.size(); ++i) {
        if (i < 8 || i >= 20) {
            EXPECT_EQ(sums[i], exact[i]) << i;
        }
    }
}

TEST(H264Decoder, RefusesBadBuffersWithoutLosingThePicture) {
    const Bytes packet = LoadPackets("h264_baseline_64x48")[0];
    H264Decoder decoder;
    ASSERT_EQ(Open(decoder, packet), Status::kOk);
    Bytes buffer(PictureBytes(PixelFormat::kBgr24, 64, 48));
    EXPECT_EQ(decoder.Decode(packet.data(), packet.size(), {PixelFormat::kBgr24, nullptr, 0, 0}),
              Status::kBadArgument);
    EXPECT_EQ(decoder.Decode(packet.data(), packet.size(),
                             {PixelFormat::kBgr24, buffer.data(), buffer.size() - 1, 0}),
              Status::kBufferTooSmall);
    EXPECT_EQ(decoder.Decode(nullptr, 0, {PixelFormat::kBgr24, buffer.data(), buffer.size(), 64 * 3 - 1}),
              Status::kBadArgument);
    EXPECT_EQ(decoder.Decode(nullptr, 0, OutputTo(buffer, PixelFormat::kBgr24)), Status::kOk);
}

}  // namespace
}  // namespace codec::test
