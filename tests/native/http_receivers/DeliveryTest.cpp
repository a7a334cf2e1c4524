// Frames reach the parameter block with the right times.

#include <gtest/gtest.h>

#include "Streams.h"
#include "include/HTTP/FrameDelivery.h"
#include "tests/support/MediaPlatformFake.h"

namespace http_test {
namespace {

using namespace norix;
using namespace norix::http;

struct Players : MediaPlayers {
    int starts = 0;
    void Start() override { ++starts; }
};

TEST(Delivery, PicturesKeepTheirHeaderApartAndTheCamerasRhythm) {
    platform::FakePlatform platform;
    CCtrlParam param;
    Players players;
    FrameDelivery delivery(FrameDelivery::Kind::Pictures, param, &players);
    EXPECT_EQ(param.videoCodec.Get(), VideoCodec::Mjpeg);
    const std::string jpeg = Jpeg(100);
    struct Frame {
        std::uint32_t arrival;
        int camera;
        std::uint32_t pts;
    };
    // Jitter of the way is taken out; a camera that sets its clock is followed, but never back.
    for (const Frame& frame :
         {Frame{50'000, 7000, 50'000}, Frame{50'055, 7040, 50'040}, Frame{50'079, 7080, 50'080},
          Frame{50'120, 20'000, 50'120}, Frame{50'125, 20'040, 50'160}, Frame{50'150, 100, 50'160},
          Frame{50'200, 0, 50'200}, Frame{0, 0, 50'200}}) {
        delivery.SetArrival(frame.arrival);
        delivery.OnFrame(BytesOf(Header(jpeg.size(), 30, true, frame.camera) + jpeg));
        VideoFrameRecord* record = nullptr;
        ASSERT_EQ(param.GetFilledVideoFrame(&record), kResultOk);
        EXPECT_EQ(record->pts, frame.pts);
        EXPECT_EQ(record->headerLength, 39u);
        EXPECT_EQ(std::string(record->data.get(), record->data.get() + record->payloadLength), jpeg);
        param.PutEmptyVideoFrame(record);
    }
    EXPECT_EQ(param.streamForm.Get(), StreamForm::WithHeader);
    EXPECT_EQ(players.starts, 1);
}

TEST(Delivery, SoundIsTimedByItsSamples) {
    platform::FakePlatform platform;
    CCtrlParam param;
    FrameDelivery delivery(FrameDelivery::Kind::Sound, param, nullptr);
    EXPECT_EQ(param.audioCodec.Get(), AudioCodec::Pcmu);
    const std::string bare(512, '\x55'), block = SoundBlock(1024);
    struct Block {
        std::uint32_t arrival;
        const std::string& bytes;
        std::uint32_t pts;
    };
    // In bursts; after a gap it goes on where the clock is; 0 is no time.
    for (const Block& sound : {Block{1000, bare, 936}, Block{1000, bare, 1000}, Block{1000, block, 1064},
                               Block{1400, block, 1192}, Block{3128, block, 3000}, Block{64, bare, 3128}}) {
        delivery.SetArrival(sound.arrival);
        delivery.OnFrame(BytesOf(sound.bytes));
        AudioFrameRecord* record = nullptr;
        ASSERT_EQ(param.GetFilledAudioFrame(&record), kResultOk);
        EXPECT_EQ(record->pts, sound.pts);
        EXPECT_EQ(record->storedLength, sound.bytes.size());
        param.PutEmptyAudioFrame(record);
    }
    SoundClock clock;
    EXPECT_EQ(clock.Stamp(64, 512), 1u);
    EXPECT_EQ(clock.Stamp(64, 512), 64u);
}

}  // namespace
}  // namespace http_test
