#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "audio/G711.h"
#include "audio/VoiceGain.h"
#include "media/CtrlParam.h"
#include "tests/native/audio/MuLawTable.h"

namespace norix {
namespace {

TEST(G711, ExpandsAsFfmpegDoes) {
    std::vector<std::uint8_t> coded(256);
    std::iota(coded.begin(), coded.end(), std::uint8_t{0});
    std::vector<std::int16_t> samples(256);
    ExpandMuLaw(coded.data(), coded.size(), samples.data());
    EXPECT_TRUE(std::equal(samples.begin(), samples.end(), std::begin(test::kMuLawTable)));
}

TEST(VoiceGain, FollowsTheVolume) {
    EXPECT_EQ(GainOfVolume(kVolumeAsRecorded), kUnityGain);
    EXPECT_EQ(GainOfVolume(0), 0);
    EXPECT_EQ(GainOfVolume(50), kUnityGain / 4);
    EXPECT_EQ(GainOfVolume(100), kUnityGain);
    EXPECT_EQ(GainOfVolume(INT32_MAX), kUnityGain);
    EXPECT_EQ(GainOfVolume(INT32_MIN), kUnityGain);
    for (int volume = 1; volume <= 100; ++volume)
        EXPECT_GT(GainOfVolume(volume), GainOfVolume(volume - 1));
}

TEST(VoiceGain, GlidesWithoutAClickAndEndsWithinTheBuffer) {
    for (const std::size_t size : {1, 2, 40, 64, 160}) {
        VoiceGain gain;
        std::vector<std::int16_t> loud(size, std::int16_t{-32768});
        gain.Apply(loud.data(), size, kUnityGain);
        EXPECT_EQ(loud.front(), -32768) << "the first gain holds at once";
        for (const std::int32_t target : {0, kUnityGain, kUnityGain / 4}) {
            const std::int32_t start = loud.back();
            std::fill(loud.begin(), loud.end(), std::int16_t{-32768});
            gain.Apply(loud.data(), size, target);
            EXPECT_EQ(loud.back(), -target);
            std::int32_t previous = start;
            for (const std::int32_t sample : loud) {
                EXPECT_LE(std::abs(sample - previous),
                          32768 / static_cast<int>(std::min<std::size_t>(size, 64)) + 1);
                previous = sample;
            }
        }
    }
}

}  // namespace
}  // namespace norix
