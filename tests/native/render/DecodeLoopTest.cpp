#include "render/decode/DecodeLoop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <set>
#include <thread>

#include "codec/H264Decoder.h"
#include "codec/Jpeg.h"
#include "tests/native/media/FrameBytes.h"
#include "tests/native/render/Rig.h"
#include "tests/support/LogCapture.h"

namespace norix {
namespace {

using codec::PixelFormat;
using codec::test::LoadPackets;
using test::Bytes;
using test::Rig;

struct Stream {
    VideoCodec kind;
    const char* clip;
    PixelSize size;
};

constexpr Stream kStreams[] = {
    {VideoCodec::H264, "h264_baseline_64x48", {64, 48}},
    {VideoCodec::Mpeg4, "mpeg4_odd_99x67", {98, 66}},
    {VideoCodec::Mjpeg, "jpeg_420_177x145", {176, 144}},
};

constexpr std::uint32_t kDecoded = FrameCounters::kDecoded;

TEST(DecodeLoop, ShowsEveryPictureOfEveryKindInBothFormats) {
    for (const Stream& stream : kStreams) {
        for (PixelFormat format : {PixelFormat::kYuy2, PixelFormat::kBgr24}) {
            for (bool deinterlace : {false, true}) {
                Rig rig(stream.kind, format);
                rig.param.deInterlace.Set(deinterlace);
                const std::vector<Bytes> packets = LoadPackets(stream.clip);
                for (const Bytes& packet : packets)
                    rig.Play(packet, 40);
                EXPECT_EQ(rig.sink->Shown().size(), packets.size()) << stream.clip;
                EXPECT_EQ(rig.sink->prepared, std::vector<PixelSize>{stream.size});
                EXPECT_EQ(rig.param.GetFrameCount(kDecoded), packets.size());
                EXPECT_EQ(rig.param.PictureWidth(), stream.size.width);
            }
        }
    }
}

// An odd width, rows of whole groups of four bytes, a filter in between: every pixel stays where it was.
TEST(DecodeLoop, PixelsAreWhereTheyBelong) {
    constexpr PixelSize kSize{99, 67};
    Bytes drawn(PictureSizeBytes(PixelFormat::kBgr24, kSize), 0);
    const int stride = PictureStride(PixelFormat::kBgr24, kSize.width);
    EXPECT_EQ(stride, 300);
    const auto channelAt = [](int x, int y) {
        return (x < 48 ? 0 : 1) + (y < 32 ? 0 : 1);
    };  // blue, green, red
    for (int y = 0; y < kSize.height; ++y) {
        for (int x = 0; x < kSize.width; ++x)
            drawn[y * stride + 3 * x + channelAt(x, y)] = 255;
    }
    codec::JpegEncoder encoder(95, codec::ChromaFormat::k444);
    const std::uint8_t* jpeg = nullptr;
    std::size_t jpegSize = 0;
    ASSERT_EQ(encoder.Encode(PixelFormat::kBgr24, drawn.data(), kSize.width, kSize.height, stride, &jpeg,
                             &jpegSize),
              codec::Status::kOk);
    for (bool deinterlace : {false, true}) {
        Rig rig(VideoCodec::Mjpeg, PixelFormat::kBgr24);
        rig.param.deInterlace.Set(deinterlace);
        rig.Decode(Bytes(jpeg, jpeg + jpegSize));
        DisplayFrame* frame = nullptr;
        ASSERT_EQ(rig.pipeline.pool.TakeDisplayable(&frame), kResultOk);
        ASSERT_EQ(frame->size, kSize);
        ASSERT_EQ(frame->Stride(), stride);
        for (int y : {0, 28, 36, 66}) {
            for (int x : {0, 44, 52, 98}) {
                for (int channel = 0; channel < 3; ++channel) {
                    const int expected = channel == channelAt(x, y) ? 255 : 0;
                    EXPECT_NEAR(frame->picture.Data()[y * stride + 3 * x + channel], expected, 40)
                        << x << ' ' << y << ' ' << channel;
                }
            }
        }
    }
}

TEST(DecodeLoop, SwapsAsFewBuffersAsThereArePicturesOnTheirWay) {
    const Bytes jpeg = LoadPackets("jpeg_420_64x48")[0];
    for (std::size_t waiting : {1, 3, 6}) {
        Rig rig(VideoCodec::Mjpeg);
        std::set<const std::uint8_t*> seen;
        std::deque<DisplayFrame*> taken;
        for (int i = 0; i < 20; ++i) {
            rig.Decode(jpeg);
            DisplayFrame* frame = nullptr;
            ASSERT_EQ(rig.pipeline.pool.TakeDisplayable(&frame), kResultOk);
            EXPECT_EQ(frame->picture.Capacity(), PictureSizeBytes(PixelFormat::kYuy2, {64, 48}));
            seen.insert(frame->picture.Data());
            taken.push_back(frame);
            if (taken.size() < waiting) continue;
            rig.pipeline.pool.Release(taken.front());
            taken.pop_front();
        }
        EXPECT_EQ(seen.size(), waiting + 1);
        for (DisplayFrame* frame : taken)
            rig.pipeline.pool.Release(frame);
    }
}

TEST(DecodeLoop, PicturesOfEverySizeShowWhileNoLimitIsSet) {
    for (const auto& [kind, clip] : {std::pair{VideoCodec::H264, "h264_high_3840x2160"},
                                     {VideoCodec::Mpeg4, "mpeg4_simple_3840x2160"},
                                     {VideoCodec::Mjpeg, "jpeg_420_3840x2160"}}) {
        DecoderSettings settings;
        settings.enableTimeSync = false;
        Rig rig(kind, PixelFormat::kBgr24, settings);
        const std::vector<Bytes> packets = LoadPackets(clip);
        for (std::size_t i = 0; i < packets.size(); ++i)
            rig.Play(packets[i], 40, i == 0 ? 0 : 1);
        EXPECT_EQ(rig.sink->Shown().size(), packets.size()) << clip;
    }
}

// The pictures come out in the order in which they are shown, each with what came with its own frame.
TEST(DecodeLoop, PicturesThatWaitForTheirTurnKeepTheirTimesAndRegions) {
    const std::vector<Bytes> packets = LoadPackets("h264_main_b_352x288");
    Rig rig(VideoCodec::H264);
    codec::H264Decoder reference;
    ASSERT_EQ(reference.Initialise(packets[0].data(), packets[0].size()), codec::Status::kOk);
    bool reordered = false;
    std::uint32_t last = 0;
    for (std::uint32_t i = 0; i < packets.size(); ++i) {
        Bytes frame = packets[i];
        test::Section section;
        section.referenceWidth = 352;
        section.referenceHeight = 288;
        const Bytes sei = test::SeiNal(section.Region(0, 1, i, 0, 200, 200, 0, 1).Build());
        frame.insert(frame.begin() + 6, sei.begin(), sei.end());  // behind the delimiter
        rig.Decode(frame, 1000 + i, i % 20 == 0 ? 0 : 1);
        codec::PlanarPicture picture;
        const bool expected = reference.DecodePlanar(packets[i].data(), packets[i].size(), &picture,
                                                     {static_cast<int>(i)}) == codec::Status::kOk;
        DisplayFrame* shown = nullptr;
        ASSERT_EQ(rig.pipeline.pool.TakeDisplayable(&shown) == kResultOk, expected) << i;
        if (!expected) continue;
        EXPECT_EQ(shown->pts, 1000u + reference.Info().tag);
        EXPECT_EQ(shown->regions[0].left, reference.Info().tag);
        reordered = reordered || shown->pts < last;
        last = shown->pts;
        rig.pipeline.pool.Release(shown);
    }
    EXPECT_TRUE(reordered);
}

// A camera that sends its parameters once: nothing that makes the decoder begin anew may need them again.
TEST(DecodeLoop, ParametersThatCameOnceOutliveEverything) {
    const std::vector<Bytes> h264 = LoadPackets("h264_baseline_64x48");  // a key frame every 8
    Rig rig(VideoCodec::H264);
    for (std::uint32_t i = 0; i < 48; ++i) {
        const Bytes& packet = h264[i % h264.size()];
        const Bytes sent = i == 0 ? packet : codec::test::WithoutParameterSets(packet);
        if (i == 11) rig.param.decodeSpeed.Set(3);
        rig.param.InsertFrameToVideoBuffer(sent.data(), sent.size(), i, i % 8 == 0 ? 0 : 1, i == 19);
        rig.decode->Step();
        if (i == 27) {  // a frame that no decoder gets over
            const Bytes broken = {0, 0, 0, 1, 0x41, 0xff, 0xff};
            rig.Decode(broken, 0, 1);
        }
        rig.display->Step();
        // Pictures again from the key frame behind each of them on.
        if (i % 8 == 0) {
            EXPECT_EQ(rig.sink->Shown().back().pts, i);
        }
    }
    EXPECT_EQ(rig.sink->Shown().back().pts, 47u);

    const std::vector<Bytes> mpeg4 = LoadPackets("mpeg4_simple_176x144");  // a key frame every 8
    Rig other(VideoCodec::Mpeg4);
    for (std::uint32_t i = 0; i < 24; ++i) {
        const Bytes sent = i == 0 ? mpeg4[i] : codec::test::WithoutVolHeader(mpeg4[i]);
        if (i == 3) other.pipeline.OfferSink(std::make_shared<test::FakeSink>(PixelFormat::kYuy2, true));
        if (i == 5) other.pipeline.OfferSink(other.sink);
        other.Play(sent, i, i % 8 == 0 ? 0 : 1);
        if (i >= 8) {
            EXPECT_EQ(other.sink->Shown().back().pts, i);
        }
    }
}

TEST(DecodeLoop, GoesOnWithAKeyFrameAfterFramesWereLeftOut) {
    for (const auto& [kind, clip] :
         {std::pair{VideoCodec::H264, "h264_baseline_64x48"}, {VideoCodec::Mpeg4, "mpeg4_simple_176x144"}}) {
        const std::vector<Bytes> packets = LoadPackets(clip);  // a key frame every 8
        Rig rig(kind);
        std::vector<std::uint32_t> shown;
        for (std::uint32_t i = 0; i < packets.size(); ++i) {
            rig.param.decodeAV.Set(i < 3 || i > 4);
            rig.param.iFrameOnly.Set(i > 12 && i < 19);
            rig.Play(packets[i], i, i % 8 == 0 ? 0 : 1);
            if (i == 5) {
                EXPECT_TRUE(rig.param.TakeKeyFrameWish());
            }
        }
        for (const test::ShownPicture& picture : rig.sink->Shown())
            shown.push_back(picture.pts);
        EXPECT_EQ(shown, (std::vector<std::uint32_t>{0, 1, 2, 8, 9, 10, 11, 12, 16})) << clip;
    }
}

TEST(DecodeLoop, LeavesOutWhatIsNotWanted) {
    for (const Stream& stream : kStreams) {
        Rig rig(stream.kind);
        const std::vector<Bytes> packets = LoadPackets(stream.clip);
        rig.param.decodeAV.Set(false);
        rig.Play(packets[0]);
        EXPECT_EQ(rig.param.GetFrameCount(kDecoded), 0u);
        rig.param.decodeAV.Set(true);
        rig.Play(packets[0]);
        rig.param.iFrameOnly.Set(true);
        for (int i = 0; i < 5; ++i)
            rig.Play(packets[0], 0, 1);
        EXPECT_EQ(rig.param.GetFrameCount(kDecoded), 1u);
        EXPECT_EQ(rig.sink->Shown().size(), 1u);
        rig.Play(packets[0]);
        EXPECT_EQ(rig.sink->Shown().size(), 2u);
        // All records have come back.
        VideoFrameRecord* record = nullptr;
        for (std::uint32_t i = 0; i < rig.param.Settings().videoBufferNum; ++i) {
            EXPECT_EQ(rig.param.GetEmptyVideoFrame(&record), kResultOk);
        }
    }
}

TEST(DecodeLoop, DropsPicturesThatFindNoFreeFrame) {
    const util::LogCapture log;
    Rig rig(VideoCodec::Mjpeg);
    const Bytes jpeg = LoadPackets("jpeg_420_64x48")[0];
    for (std::uint32_t pts = 1; pts <= 8; ++pts)
        rig.Decode(jpeg, pts);
    EXPECT_FALSE(log.Contains("(pts=6) drop"));
    EXPECT_TRUE(log.Contains("DecodePicture(pts=7) drop video frame"));
    EXPECT_TRUE(log.Contains("DecodePicture(pts=8) drop video frame"));
    rig.ShowAll();
    EXPECT_EQ(rig.sink->Shown().size(), 6u);
    EXPECT_EQ(rig.sink->Shown().back().pts, 6u);
}

TEST(DecodeLoop, WaitsForAFreeFrameWhenDroppingIsOff) {
    MediaSettings media;
    media.enableDisplayFrameDrop = false;
    Rig rig(VideoCodec::Mjpeg, PixelFormat::kYuy2, Rig::Small(), media);
    const Bytes jpeg = LoadPackets("jpeg_420_64x48")[0];
    for (std::uint32_t pts = 1; pts <= 6; ++pts)
        rig.Decode(jpeg, pts);
    std::thread display([&] {
        platform::SleepMs(35);
        rig.display->Step();
    });
    rig.Decode(jpeg, 7);
    display.join();
    rig.ShowAll();
    EXPECT_EQ(rig.sink->Shown().size(), 7u);

    // Nobody shows anything any more: the wait ends with the loop.
    for (std::uint32_t pts = 1; pts <= 6; ++pts)
        rig.Decode(jpeg, pts);
    std::thread stopper([&] {
        platform::SleepMs(35);
        rig.pipeline.decodeRunning = false;
    });
    rig.Decode(jpeg, 8);
    stopper.join();
}

TEST(DecodeLoop, ANewSizePreparesThePresenterOnceAndGivesOldPicturesUp) {
    struct Change {
        VideoCodec kind;
        const char* first;
        const char* second;
        PixelSize size;
    };
    for (const Change& change : {
             Change{VideoCodec::H264, "h264_baseline_64x48", "h264_full_range_320x240", {320, 240}},
             Change{VideoCodec::Mpeg4, "mpeg4_simple_176x144", "mpeg4_odd_99x67", {98, 66}},
             Change{VideoCodec::Mjpeg, "jpeg_420_64x48", "jpeg_422_177x145", {176, 144}},
         }) {
        Rig rig(change.kind);
        for (const Bytes& packet : LoadPackets(change.first))
            rig.Play(packet);
        rig.Decode(LoadPackets(change.first)[0]);
        const std::size_t before = rig.sink->Shown().size();
        const std::vector<Bytes> packets = LoadPackets(change.second);
        for (const Bytes& packet : packets)
            rig.Play(packet);
        EXPECT_EQ(rig.sink->prepared.size(), 2u) << change.second;
        EXPECT_EQ(rig.sink->prepared.back(), change.size);
        EXPECT_EQ(rig.sink->Shown().size() - before, packets.size());
        EXPECT_FALSE(rig.sink->wrongSize);
        EXPECT_EQ(rig.fake.Messages().back(),
                  (platform::FakePlatform::Message{false, WM_OnResolutionChanged,
                                                   static_cast<std::uintptr_t>(change.size.width),
                                                   change.size.height}));
    }
}

TEST(DecodeLoop, APresenterThatRefusesIsAskedAgain) {
    for (const Stream& stream : kStreams) {
        Rig rig(stream.kind);
        rig.sink->refuse = true;
        const std::vector<Bytes> packets = LoadPackets(stream.clip);
        rig.Play(packets[0]);
        EXPECT_TRUE(rig.sink->Shown().empty());
        rig.sink->refuse = false;
        for (const Bytes& packet : packets)
            rig.Play(packet);
        EXPECT_GE(rig.sink->Shown().size(), packets.size() - 1) << stream.clip;
    }
}

// What is too large is refused before anything takes memory for it; the user is told, once, and the next
// stream that fits is shown.
TEST(DecodeLoop, PicturesThatAreTooLargeAreToldOfAndMakeRoomForSmallerOnes) {
    struct Stream {
        VideoCodec kind;
        const char* large;
        const char* small;
        const char* size;
    };
    for (const Stream& stream :
         {Stream{VideoCodec::H264, "h264_high_1920x1080", "h264_baseline_64x48", "1920 x 1080"},
          {VideoCodec::Mpeg4, "mpeg4_simple_3840x2160", "mpeg4_odd_99x67", "3840 x 2160"},
          {VideoCodec::Mjpeg, "jpeg_420_3840x2160", "jpeg_420_64x48", "3840 x 2160"}}) {
        const util::LogCapture log;
        Rig rig(stream.kind);
        const std::vector<Bytes> large = LoadPackets(stream.large);
        for (int i = 0; i < 3; ++i)
            rig.Play(large[0]);
        for (const Bytes& packet : large)
            rig.Play(packet, 0, 1);
        EXPECT_TRUE(rig.sink->prepared.empty());
        const std::string told = std::string(stream.size) + ": too large to be shown";
        EXPECT_EQ(rig.param.obstacle.Get(), std::wstring(told.begin(), told.end()));
        const std::vector<std::string> lines = log.Lines();
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [](const std::string& line) {
                                    return line.find("more than DisplayBufferSize") != std::string::npos;
                                }),
                  1);
        for (const Bytes& packet : LoadPackets(stream.small))
            rig.Play(packet);
        EXPECT_EQ(rig.sink->Shown().size(), LoadPackets(stream.small).size());
        EXPECT_EQ(rig.param.obstacle.Get(), L"");
    }
}

TEST(DecodeLoop, ANewDecodeSpeedStartsOverAtAKeyFrame) {
    Rig rig(VideoCodec::H264);
    const std::vector<Bytes> packets = LoadPackets("h264_baseline_64x48");  // a key frame every 8
    for (std::size_t i = 0; i < 4; ++i)
        rig.Play(packets[i], static_cast<std::uint32_t>(i));
    rig.param.decodeSpeed.Set(4);
    rig.Play(packets[4], 4);
    EXPECT_TRUE(rig.param.TakeKeyFrameWish());
    for (std::size_t i = 5; i < 10; ++i)
        rig.Play(packets[i], static_cast<std::uint32_t>(i));
    const auto shown = rig.sink->Shown();
    ASSERT_EQ(shown.size(), 6u);
    EXPECT_EQ(shown[4].pts, 8u);
    EXPECT_EQ(rig.sink->prepared.size(), 2u);
}

TEST(DecodeLoop, AnotherPresenterTakesOverInItsOwnFormat) {
    for (const Stream& stream : kStreams) {
        Rig rig(stream.kind, PixelFormat::kYuy2);
        const std::vector<Bytes> packets = LoadPackets(stream.clip);
        rig.Decode(packets[0]);
        const auto next = std::make_shared<test::FakeSink>(PixelFormat::kBgr24);
        rig.pipeline.OfferSink(next);
        for (const Bytes& packet : packets)
            rig.Play(packet);
        EXPECT_TRUE(rig.sink->Shown().empty());  // its picture was given up
        EXPECT_EQ(next->prepared, std::vector<PixelSize>{stream.size});
        EXPECT_EQ(next->Shown().size(), packets.size());
    }
}

// One that can't begin, and one that breaks down.
TEST(DecodeLoop, ASubstituteTakesOverFromAPresenterThatFails) {
    for (const Stream& stream : kStreams) {
        const std::vector<Bytes> packets = LoadPackets(stream.clip);
        for (const bool refuses : {true, false}) {
            Rig rig(stream.kind, PixelFormat::kYuy2);
            const auto next = std::make_shared<test::FakeSink>(PixelFormat::kBgr24);
            rig.sink->substitute = next;
            rig.sink->refuse = refuses;
            constexpr std::size_t kPictures = 5;
            for (std::size_t i = 0; i < kPictures; ++i) {
                rig.sink->failed = i >= 1;
                rig.Play(packets[i % packets.size()]);
            }
            EXPECT_EQ(rig.sink->Shown().size(), refuses ? 0u : 1u) << stream.clip;
            EXPECT_EQ(next->prepared, std::vector<PixelSize>{stream.size});
            EXPECT_EQ(next->Shown().size(), kPictures - rig.sink->Shown().size()) << stream.clip;
        }
    }
}

TEST(DecodeLoop, WhatNobodySeesIsDecodedOnly) {
    for (const Stream& stream : kStreams) {
        const std::vector<Bytes> packets = LoadPackets(stream.clip);
        Rig always(stream.kind);
        for (std::size_t i = 0; i < 6; ++i)
            always.Play(packets[i % packets.size()]);

        Rig rig(stream.kind);
        rig.sink->seen = false;
        const auto play = [&](std::size_t i) {
            rig.Play(packets[i % packets.size()]);
            return rig.sink->Shown().size();
        };
        EXPECT_EQ(play(0), 1u) << "for the window's repaints";
        EXPECT_EQ(play(1), 1u) << stream.clip;
        rig.fake.skippedMs = 1000;
        EXPECT_EQ(play(2), 2u) << "now and then";
        EXPECT_EQ(play(3), 2u);
        rig.param.snapshots.RequestData(1);
        EXPECT_EQ(play(4), 3u) << "for snapshots";
        rig.param.snapshots.TakeData();
        rig.sink->seen = true;
        EXPECT_EQ(play(5), 4u);
        EXPECT_EQ(rig.sink->checksum, always.sink->checksum) << "as if all had been seen";
        EXPECT_EQ(rig.param.GetFrameCount(kDecoded), 6u);
        EXPECT_EQ(rig.param.GetFrameCount(FrameCounters::kDisplayed), 6u);
        EXPECT_EQ(rig.sink->prepared.size(), 1u);
    }
}

TEST(DecodeLoop, RegionsTravelWithThePicture) {
    Rig rig(VideoCodec::Mjpeg);
    test::Bytes frame = test::CameraHeader(
        test::Section().Region(0, 1, 80, 60, 160, 120, 50, 50).Region(1, 1, 0, 0, 10, 10, 51, 50).Build(), 0);
    const Bytes jpeg = LoadPackets("jpeg_420_64x48")[0];
    frame.insert(frame.end(), jpeg.begin(), jpeg.end());
    rig.Decode(frame);
    DisplayFrame* picture = nullptr;
    ASSERT_EQ(rig.pipeline.pool.TakeDisplayable(&picture), kResultOk);
    EXPECT_EQ(picture->regions[0], (PixelRect{16, 12, 48, 36}));
    EXPECT_EQ(picture->alarms, (std::array<bool, 3>{true, false, false}));
    EXPECT_EQ(rig.param.regionLevel[1].Get(), 50);
    rig.pipeline.pool.Release(picture);

    const auto regionMessages = [&] {
        std::size_t count = 0;
        for (const auto& message : rig.fake.Messages())
            count += message.id == WM_OnMotionWindowUpdate;
        return count;
    };
    EXPECT_EQ(regionMessages(), 3u);
    rig.param.regionLevelsFrozen.Set(true);
    rig.param.regionLevel[1].Set(7);
    rig.Decode(frame);
    EXPECT_EQ(rig.param.regionLevel[1].Get(), 7);
    EXPECT_EQ(regionMessages(), 3u);
}

}  // namespace
}  // namespace norix
