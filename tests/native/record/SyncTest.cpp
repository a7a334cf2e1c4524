// Sound and picture of one moment, from the timestamps of packets to the places in a file.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "RiffCheck.h"
#include "Rig.h"
#include "live/rtp/Timeline.h"

namespace norix::tests {
namespace {

// One stream of a camera whose clock is off, and when its frames play as the session has it.
class Sender {
  public:
    Sender(live::rtp::SessionTimeline& session, unsigned clockRate, std::uint32_t origin)
        : m_clockRate(clockRate), m_origin(origin), m_timeline(session, clockRate) {}

    /// `sent`: ms of the camera's clock; `now`: ms of ours.
    std::uint32_t PtsOf(double sent, std::uint32_t now) {
        const std::int64_t arrival = now * std::int64_t{1000};
        return static_cast<std::uint32_t>(m_timeline.at(Timestamp(sent), arrival, arrival).position / 1000);
    }
    void Report(double sent) {
        constexpr double kFraction = 4294967296.0;
        m_timeline.onSenderReport(
            {1, static_cast<std::uint64_t>((3.9e9 + sent / 1000) * kFraction), Timestamp(sent)});
    }

  private:
    std::uint32_t Timestamp(double sent) const {
        return m_origin + static_cast<std::uint32_t>(sent * m_clockRate / 1000);
    }

    const unsigned m_clockRate;
    const std::uint32_t m_origin;
    live::rtp::StreamTimeline m_timeline;
};

// Ten minutes at 25 pictures per second with one packet in a hundred lost, a sender whose clock is off, and
// sound that comes later than its pictures: once the sender has said how they belong together, sound and
// picture are those of one moment wherever the file is played.
class SyncTest : public testing::TestWithParam<std::tuple<AudioCodec, double>> {};

TEST_P(SyncTest, SoundStaysWithThePicture) {
    const auto [codec, drift] = GetParam();
    const bool aac = codec == AudioCodec::Aac;
    const double blockMs = aac ? 64 : 20;
    Rig rig(VideoCodec::H264, codec);
    rig.controller.Start(RecordFormat::Avi);
    std::mt19937 random(5);
    live::rtp::SessionTimeline session;
    session.play(0, 1);
    Sender pictures(session, 90000, 0xFFFF0000u);
    Sender sounds(session, aac ? 16000 : 8000, 5);
    double nextSound = 0;
    std::vector<double> pictureSent;
    std::vector<double> soundSent;
    constexpr double kSoundDelay = 160;
    constexpr double kSettled = 10000;
    std::uint32_t number = 0;
    for (int tick = 0; tick < 600 * 50; ++tick) {  // of 20 ms
        const double sent = tick * 20.0;
        const std::uint32_t jitter = random() % 12;
        rig.now = 5000 + static_cast<std::uint32_t>(sent * drift) + jitter;
        if (tick % 250 == 100) {
            pictures.Report(sent);
            sounds.Report(sent - kSoundDelay);
        }
        const auto lost = [&] { return tick > 0 && random() % 100 == 0; };
        if (tick % 2 == 0 && !lost()) {
            rig.Video(number % 50 == 0 ? KeyFrame(VideoCodec::H264, number, 100)
                                       : OtherFrame(VideoCodec::H264, number, 60),
                      pictures.PtsOf(sent, rig.now));
            ++number;
            pictureSent.push_back(sent);
        }
        if (nextSound + kSoundDelay > sent) continue;
        if (!lost()) {
            // The first byte of a block says which it is.
            Bytes block = Sound(160, 0x11);
            block[0] = static_cast<std::uint8_t>(0x20 + soundSent.size() % 64);
            soundSent.push_back(nextSound);
            rig.Audio(block, sounds.PtsOf(nextSound, rig.now));
        }
        nextSound += blockMs;
    }
    rig.Stop();
    const AviContents avi = ReadAvi(rig.disk.Contents(std::size_t{0}));
    EXPECT_EQ(avi.fault, "");
    const double interval = 1000.0 * avi.scale / avi.rate;
    std::vector<double> pictureOffset;
    std::size_t picture = 0;
    const std::vector<AviContents::Chunk> video = avi.Video();
    for (std::size_t i = 0; i < video.size() && picture < pictureSent.size(); ++i) {
        if (video[i].data.empty()) continue;
        pictureOffset.push_back(static_cast<double>(i) * interval - pictureSent[picture++]);
    }
    EXPECT_EQ(picture, pictureSent.size());
    std::size_t block = 0;
    double worst = 0;
    double played = 0;
    for (const auto& chunk : avi.Audio()) {
        for (std::size_t i = 0; i < (aac ? 1 : chunk.size); ++i, played += aac ? blockMs : 0.125) {
            if (chunk.data[i] < 0x20 || chunk.data[i] >= 0x60) continue;
            while (block % 64 + 0x20u != chunk.data[i])
                ++block;  // it was cut
            const double sent = soundSent.at(block++);
            const auto near = std::lower_bound(pictureSent.begin(), pictureSent.end(), sent);
            const auto index = std::min<std::size_t>(near - pictureSent.begin(), pictureOffset.size() - 1);
            if (sent > kSettled) worst = std::max(worst, std::abs(played - sent - pictureOffset[index]));
        }
    }
    EXPECT_EQ(block, soundSent.size());
    EXPECT_LE(worst, aac ? blockMs : 40) << "ms; frames come and go as a whole";
    EXPECT_NEAR(avi.Seconds(), 600 * drift, 0.2);
}
INSTANTIATE_TEST_SUITE_P(All, SyncTest,
                         testing::Combine(testing::Values(AudioCodec::Pcmu, AudioCodec::Aac),
                                          testing::Values(1.0002, 0.9998)));

}  // namespace
}  // namespace norix::tests
