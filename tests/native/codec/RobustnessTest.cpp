// Ten thousand damaged frames for each codec: no crash, no hang, and good pictures again with the next key
// frame. Sanitizers watch our own code; the libraries are watched by what they write into buffers of exact
// size.

#include <gtest/gtest.h>

#include "codec/AacDecoder.h"
#include "codec/H264Decoder.h"
#include "codec/Jpeg.h"
#include "codec/StaticInit.h"
#include "tests/native/codec/Corpus.h"

namespace codec::test {
namespace {

constexpr int kFrames = kDamagedFrames;
TEST(Robustness, H264) {
    const std::vector<Bytes> packets = LoadPackets("h264_baseline_64x48");
    const std::vector<Reference> exact = LoadReferences("h264_baseline_64x48");
    Random random(264);
    H264Decoder decoder(2);
    H264Decoder packed(1);  // at any speed, into buffers that end with the picture
    PlanarPicture picture;
    ASSERT_EQ(decoder.Initialise(packets[0].data(), packets[0].size()), Status::kOk);
    ASSERT_EQ(packed.Initialise(packets[0].data(), packets[0].size()), Status::kOk);
    int shown = 0;
    for (int frame = 0; frame < kFrames; frame += 14) {  // seven for each of the two
        // Damaged between two key frames (each 8th), which are whole.
        for (std::size_t i = 0; i < 9; ++i) {
            const Bytes packet = i > 0 && i < 8 ? Corrupt(packets[i], random) : packets[i];
            const Status status = decoder.DecodePlanar(packet.data(), packet.size(), &picture);
            if (i == 8) {
                ASSERT_EQ(status, Status::kOk) << frame;
                ASSERT_EQ(SumOf(picture), exact[i]) << frame;
            }
            packed.SetSpeed(static_cast<int>(random.Below(8)));
            const PixelFormat format = random.Below(2) ? PixelFormat::kYuy2 : PixelFormat::kBgr24;
            Bytes buffer(PictureBytes(format, 64, 48));
            const OutputPicture output = {format, buffer.data(), buffer.size(), 0};
            Status drawn = packed.Decode(packet.data(), packet.size(), output);
            if (drawn == Status::kSizeChanged) drawn = packed.Decode(nullptr, 0, output);
            shown += drawn == Status::kOk;
        }
        H264Decoder fresh(1);
        const Bytes first = Corrupt(packets[0], random);
        if (frame % 140 == 0) (void)fresh.Initialise(first.data(), first.size());
    }
    EXPECT_GT(shown, kFrames / 8);
}

TEST(Robustness, Jpeg) {
    JpegDecoder decoder;
    Random random(10918);
    std::vector<Bytes> pictures;
    for (const char* clip : {"jpeg_420_64x48", "jpeg_422_64x48", "jpeg_444_64x48", "jpeg_grey_64x48"}) {
        pictures.push_back(LoadPackets(clip)[0]);
    }
    int shown = 0;
    for (int frame = 0; frame < kFrames; ++frame) {
        const Bytes damaged = Corrupt(pictures[random.Below(4)], random);
        const PixelFormat format = random.Below(2) ? PixelFormat::kYuy2 : PixelFormat::kBgr24;
        JpegInfo info;
        if (decoder.ReadHeader(damaged.data(), damaged.size(), &info) != Status::kOk) continue;
        if (info.width * info.height > 1 << 20) continue;  // a size that only costs time
        Bytes buffer(PictureBytes(format, info.width, info.height));
        shown += decoder.Decode(damaged.data(), damaged.size(), {format, buffer.data(), buffer.size(), 0}) ==
                 Status::kOk;
    }
    EXPECT_GT(shown, kFrames / 8);
    PlanarPicture picture;
    ASSERT_EQ(decoder.DecodePlanar(pictures[0].data(), pictures[0].size(), &picture), Status::kOk);
    EXPECT_FALSE(decoder.Damaged());
    EXPECT_LE(GreatestDifference(Pack(picture), LoadRaw("jpeg_420_64x48")), 2);
}

TEST(Robustness, Aac) {
    const std::vector<Bytes> mono = LoadPackets("aac_16000_1");
    const std::vector<Bytes> stereo = LoadPackets("aac_16000_2");
    const std::uint8_t config[] = {0x14, 0x08};
    Random random(14496);
    AacDecoder decoder;
    ASSERT_EQ(decoder.Initialise(config, sizeof config), Status::kOk);
    std::vector<std::int16_t> samples(AacDecoder::kMaxSamplesPerUnit);
    int heard = 0;
    for (int frame = 0; frame < kFrames; ++frame) {
        const auto& units = random.Below(4) == 0 ? stereo : mono;
        const Bytes& unit = units[random.Below(static_cast<std::uint32_t>(units.size()))];
        const Bytes damaged = Corrupt(Bytes(unit.begin() + 7, unit.end()), random);
        std::size_t count = 0;
        const Status status =
            decoder.Decode(damaged.data(), damaged.size(), samples.data(), samples.size(), &count);
        EXPECT_EQ(count > 0, status == Status::kOk);
        EXPECT_LE(count, samples.size());
        heard += status == Status::kOk;
        Bytes hostile(1 + random.Below(8));
        for (std::uint8_t& byte : hostile)
            byte = static_cast<std::uint8_t>(random.Next());
        AacDecoder other;
        if (frame % 10 == 0) (void)other.Initialise(hostile.data(), hostile.size());
    }
    EXPECT_GT(heard, 0);
}

TEST(LogHook, ReceivesWhatTheLibrariesSayAndNothingOtherwise) {
    static int lines = 0;
    const Bytes packet = LoadPackets("h264_baseline_64x48")[0];
    const Bytes broken = {0, 0, 0, 1, 0x65, 0x88, 0xff, 0xff};
    H264Decoder decoder(1);
    ASSERT_EQ(decoder.Initialise(packet.data(), packet.size()), Status::kOk);
    PlanarPicture picture;
    lines = 0;
    testing::internal::CaptureStderr();
    (void)decoder.DecodePlanar(broken.data(), broken.size(), &picture);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    SetLogHook([](int, const char* line) { lines += line[0] != '\0'; });
    (void)decoder.DecodePlanar(broken.data(), broken.size(), &picture);
    EXPECT_GT(lines, 0);
    SetLogHook(nullptr);
}

}  // namespace
}  // namespace codec::test
