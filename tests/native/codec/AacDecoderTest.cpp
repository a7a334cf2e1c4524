#include "codec/AacDecoder.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/native/codec/Corpus.h"

namespace codec::test {
namespace {

constexpr std::size_t kAdtsHeader = 7;

/// AudioSpecificConfig of AAC-LC: five bits of object type, four of rate index, four of channels, three
/// zeros.
Bytes Config(int rateIndex, int channels) {
    const int bits = 2 << 11 | rateIndex << 7 | channels << 3;
    return {static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits)};
}

Status Open(AacDecoder& decoder, const Bytes& config) {
    return decoder.Initialise(config.data(), config.size());
}

struct AacCase {
    int rate;
    int channels;
    int rateIndex;
};

class AacClip : public testing::TestWithParam<AacCase> {};

TEST_P(AacClip, GivesTheSameSoundAsFfmpeg) {
    const AacCase& clip = GetParam();
    const std::string name = "aac_" + std::to_string(clip.rate) + "_" + std::to_string(clip.channels);
    AacDecoder decoder;
    ASSERT_EQ(Open(decoder, Config(clip.rateIndex, clip.channels)), Status::kOk);
    EXPECT_EQ(decoder.SampleRate(), clip.rate);
    EXPECT_EQ(decoder.Channels(), clip.channels);

    std::vector<std::int16_t> sound;
    std::int16_t samples[AacDecoder::kMaxSamplesPerUnit];
    for (const Bytes& unit : LoadPackets(name)) {
        std::size_t count = 0;
        ASSERT_EQ(decoder.Decode(unit.data() + kAdtsHeader, unit.size() - kAdtsHeader, samples,
                                 AacDecoder::kMaxSamplesPerUnit, &count),
                  Status::kOk);
        sound.insert(sound.end(), samples, samples + count);
    }
    const Bytes raw = LoadRaw(name);
    const std::size_t channels = static_cast<std::size_t>(clip.channels);
    ASSERT_EQ(sound.size() * 2 * channels, raw.size());
    for (std::size_t i = 0; i < sound.size(); ++i) {
        int sum = 0;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const std::size_t at = (i * channels + channel) * 2;
            sum += static_cast<std::int16_t>(raw[at] | raw[at + 1] << 8);
        }
        ASSERT_NEAR(sound[i], static_cast<double>(sum) / clip.channels, 1.5) << "sample " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, AacClip,
                         testing::Values(AacCase{8000, 1, 11}, AacCase{16000, 1, 8}, AacCase{16000, 2, 8},
                                         AacCase{44100, 2, 4}),
                         [](const auto& info) {
                             return std::to_string(info.param.rate) + "_" +
                                    std::to_string(info.param.channels);
                         });

TEST(AacDecoder, RefusesHostileConfigurations) {
    AacDecoder decoder;
    std::int16_t samples[AacDecoder::kMaxSamplesPerUnit];
    std::size_t count = 7;
    const std::uint8_t unit[] = {0x21, 0x10};
    EXPECT_EQ(decoder.Initialise(nullptr, 2), Status::kBadArgument);
    EXPECT_EQ(Open(decoder, {0x14}), Status::kBadData) << "truncated";
    EXPECT_EQ(Open(decoder, {}), Status::kBadArgument) << "empty";
    EXPECT_EQ(Open(decoder, Config(13, 1)), Status::kBadData) << "reserved rate";
    EXPECT_EQ(Open(decoder, Config(11, 0)), Status::kUnsupported) << "channels described elsewhere";
    EXPECT_EQ(Open(decoder, Config(11, 7)), Status::kUnsupported) << "eight channels";
    EXPECT_EQ(Open(decoder, {0x17, 0x80, 0, 0, 0x08, 0}), Status::kUnsupported) << "explicit rate of 0 Hz";
    EXPECT_EQ(Open(decoder, {0x0d, 0x88}), Status::kUnsupported) << "AAC Main";
    Bytes shortFrames = Config(11, 1);
    shortFrames[1] |= 4;
    EXPECT_EQ(Open(decoder, shortFrames), Status::kUnsupported) << "960 samples";
    EXPECT_FALSE(decoder.IsInitialised());
    EXPECT_EQ(decoder.Decode(unit, sizeof unit, samples, std::size(samples), &count),
              Status::kNotInitialised);
    EXPECT_EQ(count, 0u);

    // Band replication announced over a core of 8000 Hz: object 5, index 11, one channel, index 8, object 2.
    const Bytes replicated = {0x2d, 0x8c, 0x08, 0x00};
    ASSERT_EQ(Open(decoder, replicated), Status::kOk);
    EXPECT_EQ(decoder.SampleRate(), 8000);
    EXPECT_EQ(decoder.Decode(unit, sizeof unit, samples, 100, &count), Status::kBufferTooSmall);
    decoder.Close();
    EXPECT_FALSE(decoder.IsInitialised());
}

}  // namespace
}  // namespace codec::test
