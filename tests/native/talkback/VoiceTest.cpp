// The voice from captured samples to packets on their way.

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "audio/G711.h"
#include "audio/talkback/VoiceEncoder.h"
#include "codec/AacDecoder.h"
#include "tests/native/talkback/Sound.h"

namespace norix {
namespace {

using test::FrequencyOf;
using test::PeakOf;
using test::Samples;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kNoLimit = UINT32_MAX;

Bytes TakeAll(VoiceBacklog& backlog) {
    Bytes all;
    while (!backlog.Front().empty()) {
        const auto front = backlog.Front();
        all.insert(all.end(), front.begin(), front.end());
        backlog.Consume(front.size());
    }
    return all;
}

/// What comes out of an encoder that is fed in blocks as a microphone fills them.
Bytes Encode(const VoiceFormat& format, std::uint32_t capturedRate, const Samples& samples) {
    VoiceEncoder encoder(format, capturedRate);
    EXPECT_TRUE(encoder.Open());
    Bytes all;
    const std::size_t block = capturedRate * 64 / 1000;
    for (std::size_t at = 0; at < samples.size(); at += block) {
        VoiceBacklog backlog(kNoLimit);
        encoder.Encode(std::span(samples).subspan(at, std::min(block, samples.size() - at)), backlog);
        const Bytes bytes = TakeAll(backlog);
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

Samples DecodePcm(const Bytes& bytes) {
    EXPECT_EQ(bytes.size() % 2, 0u);
    Samples samples(bytes.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    return samples;
}

/// Walks the headers, as whoever listens does.
std::optional<Samples> DecodeAdts(const Bytes& bytes, int rateIndex) {
    const int bits = 2 << 11 | rateIndex << 7 | 1 << 3;
    const Bytes config = {static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits)};
    codec::AacDecoder decoder;
    if (decoder.Initialise(config.data(), config.size()) != codec::Status::kOk) return std::nullopt;
    Samples sound;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::uint8_t* const head = bytes.data() + at;
        if (bytes.size() - at < kAdtsBytes || head[0] != 0xFF || head[1] != 0xF1) return std::nullopt;
        if ((head[2] >> 2 & 15) != rateIndex) return std::nullopt;
        const std::size_t length = (head[3] & 3u) << 11 | head[4] << 3 | head[5] >> 5;
        if (length < kAdtsBytes || length > bytes.size() - at) return std::nullopt;
        Samples unit(codec::AacDecoder::kMaxSamplesPerUnit);
        std::size_t count = 0;
        const auto status =
            decoder.Decode(head + kAdtsBytes, length - kAdtsBytes, unit.data(), unit.size(), &count);
        if (codec::Failed(status)) return std::nullopt;
        sound.insert(sound.end(), unit.begin(), unit.begin() + static_cast<std::ptrdiff_t>(count));
        at += length;
    }
    return sound;
}

TEST(MuLaw, IsTheNearestCodeForEverySample) {
    Samples all(65536);
    for (int i = 0; i < 65536; ++i)
        all[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(i - 32768);
    Bytes coded(all.size());
    CompressMuLaw(all.data(), all.size(), coded.data());
    Samples back(all.size());
    ExpandMuLaw(coded.data(), coded.size(), back.data());
    for (std::size_t i = 0; i < all.size(); ++i) {
        // Steps are 8 in the lowest of eight segments, 16 in the next and so on (G.711).
        const int magnitude = std::min(std::abs(int{all[i]}), 32635) + 132;
        int step = 8;
        for (int top = 256; magnitude >= top; top *= 2)
            step *= 2;
        ASSERT_LE(std::abs(std::min(std::max(int{all[i]}, -32635), 32635) - back[i]), step / 2) << all[i];
    }
    Bytes again(all.size());
    CompressMuLaw(back.data(), back.size(), again.data());
    for (std::size_t i = 0; i < all.size(); ++i)
        ASSERT_EQ(back[i] == 0 ? coded[i] | 0x80 : coded[i], back[i] == 0 ? again[i] | 0x80 : again[i]);
}

TEST(Voice, MuLawIsAByteForASample) {
    const Samples tone = test::Tone(440, 8000, 1, 8192);
    const Bytes wire = Encode({}, 8000, tone);
    ASSERT_EQ(wire.size(), tone.size());
    Samples heard(wire.size());
    ExpandMuLaw(wire.data(), wire.size(), heard.data());
    EXPECT_NEAR(FrequencyOf(heard, 8000), 440, 0.1);
    EXPECT_NEAR(PeakOf(heard), 8192, 80);
}

TEST(Voice, ComesAtTheRateThatIsWanted) {
    for (const auto& [captured, wanted] : {std::pair(48000u, 8000u), {44100u, 16000u}, {8000u, 48000u}}) {
        const VoiceFormat format{VoiceCodec::Pcm, wanted};
        const Samples heard = DecodePcm(Encode(format, captured, test::Tone(440, captured, 2, 8192)));
        EXPECT_NEAR(static_cast<double>(heard.size()), 2.0 * wanted, 0.02 * wanted) << captured << wanted;
        const auto steady = std::span(heard).subspan(wanted / 4, wanted);
        EXPECT_NEAR(FrequencyOf(steady, wanted), 440, 0.1);
        EXPECT_NEAR(PeakOf(steady), 8192, 80);
    }
}

TEST(Voice, AacUnitsCarryTheirHeaders) {
    for (const auto& [rate, index] : {std::pair(8000u, 11), {16000u, 8}, {48000u, 3}}) {
        const Bytes wire = Encode({VoiceCodec::Aac, rate}, rate, test::Tone(440, rate, 2, 8192));
        const auto heard = DecodeAdts(wire, index);
        ASSERT_TRUE(heard) << rate;
        ASSERT_GT(heard->size(), rate + 4096u);
        const auto steady = std::span(*heard).subspan(4096, rate);
        EXPECT_NEAR(FrequencyOf(steady, rate), 440, 0.5) << rate;
        EXPECT_NEAR(PeakOf(steady), 8192, 400) << rate;
    }
    EXPECT_FALSE(VoiceEncoder({VoiceCodec::Aac, 9000}, 9000).Open()) << "AAC has no number for this rate";
}

TEST(Voice, LevelIsInDecibels) {
    EXPECT_EQ(LevelOf({}), 0);
    EXPECT_EQ(LevelOf(Samples{0, 0}), 0);
    EXPECT_EQ(LevelOf(Samples{-32768}), 100);
    EXPECT_EQ(LevelOf(Samples{100, -16384}), 90) << "6 dB are a tenth";
    EXPECT_EQ(LevelOf(Samples{1}), 0) << "below the meter";
}

TEST(Voice, FormatsThatAHostMayAskFor) {
    EXPECT_EQ(ParseVoiceFormat(0, 0), VoiceFormat{});
    EXPECT_EQ(ParseVoiceFormat(2, 16000), (VoiceFormat{VoiceCodec::Aac, 16000}));
    for (const auto& [codec, rate] : {std::pair(-1, 8000L), {4, 8000L}, {1, 7999L}, {1, 48001L}, {1, -1L}})
        EXPECT_FALSE(ParseVoiceFormat(codec, rate)) << codec << ' ' << rate;
    EXPECT_EQ(ContentTypeOf({}), "audio/pcmu");
    EXPECT_EQ(ContentTypeOf({VoiceCodec::Pcmu, 16000}), "audio/pcmu;rate=16000");
    EXPECT_EQ(ContentTypeOf({VoiceCodec::Pcm, 8000}), "audio/pcm;rate=8000");
    EXPECT_EQ(ContentTypeOf({VoiceCodec::Aac, 16000}), "audio/aac");
}

// ---- The backlog

Bytes Packet(std::uint8_t number, std::size_t size = 4) {
    return Bytes(size, number);
}

TEST(VoiceBacklog, DropsTheOldestThatWasNotBegun) {
    VoiceBacklog backlog(200);
    for (std::uint8_t i = 1; i <= 5; ++i)
        backlog.Add(Packet(i), 100);
    EXPECT_EQ(backlog.DroppedUs(), 300u);
    EXPECT_EQ(backlog.Front().front(), 4);
    backlog.Consume(1);
    EXPECT_TRUE(backlog.IsBegun());
    for (std::uint8_t i = 6; i <= 9; ++i)
        backlog.Add(Packet(i), 100);
    // The rest of the fourth, then the two newest.
    EXPECT_EQ(TakeAll(backlog), (Bytes{4, 4, 4, 8, 8, 8, 8, 9, 9, 9, 9}));
    EXPECT_FALSE(backlog.IsBegun());
    EXPECT_EQ(backlog.DroppedUs(), 600u);
    backlog.Add(Packet(10), 5000);
    EXPECT_EQ(TakeAll(backlog), Packet(10)) << "the newest stays, however long it is";
}

TEST(VoiceBacklog, HoldsTogetherWhateverHappens) {
    VoiceBacklog backlog(1000);
    std::srand(7);
    std::uint8_t number = 0;
    Bytes sent;
    for (int i = 0; i < 20000; ++i) {
        if (std::rand() % 2 != 0) {
            backlog.Add(Packet(++number, 4), static_cast<std::uint32_t>(std::rand() % 100));
        } else if (const auto front = backlog.Front(); !front.empty()) {
            const std::size_t count = static_cast<std::size_t>(std::rand()) % front.size() + 1;
            sent.insert(sent.end(), front.begin(), front.begin() + static_cast<std::ptrdiff_t>(count));
            backlog.Consume(count);
        }
    }
    const Bytes rest = TakeAll(backlog);
    sent.insert(sent.end(), rest.begin(), rest.end());
    ASSERT_EQ(sent.size() % 4, 0u);
    for (std::size_t i = 0; i < sent.size(); i += 4)
        ASSERT_EQ(Bytes(sent.begin() + static_cast<std::ptrdiff_t>(i),
                        sent.begin() + static_cast<std::ptrdiff_t>(i) + 4),
                  Packet(sent[i]));
    EXPECT_EQ(sent.back(), number) << "the newest is never dropped";
}

}  // namespace
}  // namespace norix
