#include "audio/AudioLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>

#include "audio/SystemClock.h"
#include "tests/native/audio/MuLawTable.h"
#include "tests/native/audio/Rig.h"
#include "tests/native/codec/Corpus.h"
#include "tests/support/LogCapture.h"
#include "util/Log.h"

namespace norix {
namespace {

using codec::test::Bytes;
using test::Rig;
using Samples = std::vector<std::int16_t>;

// A frame whose bytes all differ from their neighbours.
Bytes Frame(std::size_t size, std::uint8_t first = 1) {
    Bytes frame(size);
    for (std::size_t i = 0; i < size; ++i)
        frame[i] = static_cast<std::uint8_t>(first + i * 7);
    return frame;
}

Samples Expanded(const Bytes& coded, std::size_t skip = 0) {
    Samples samples;
    for (std::size_t i = skip; i < coded.size(); ++i)
        samples.push_back(test::kMuLawTable[coded[i]]);
    return samples;
}

Bytes WithHeader(std::size_t size) {
    Bytes frame = Frame(size);
    const std::uint8_t start[] = {0, 0, 1, 0xC0};
    std::copy_n(start, std::min<std::size_t>(size, 4), frame.begin());
    return frame;
}

int Count(const util::LogCapture& log, const std::string& part) {
    int count = 0;
    for (const std::string& line : log.Lines())
        count += line.find(part) != std::string::npos;
    return count;
}

TEST(AudioLoop, PlaysWhatIsSoundInAFrame) {
    Rig rig(AudioCodec::Pcmu);
    EXPECT_EQ(rig.Play(Frame(160)), Expanded(Frame(160)));
    EXPECT_EQ(rig.Play(WithHeader(192)), Expanded(WithHeader(192))) << "no header but in Motion JPEG";

    rig.param.videoCodec.Set(VideoCodec::Mjpeg);
    EXPECT_EQ(rig.Play(WithHeader(192)), Expanded(WithHeader(192), 32));
    EXPECT_EQ(rig.Play(Frame(192)), Expanded(Frame(192)));
    for (const std::size_t size : {4, 31, 32})
        EXPECT_TRUE(rig.Play(WithHeader(size)).empty()) << size;
    EXPECT_EQ(rig.Play(WithHeader(3)).size(), 3u);
    EXPECT_TRUE(rig.Play({}).empty());

    // The buffers have the size of the first frames.
    const Bytes large = Frame(4000);
    EXPECT_EQ(rig.Play(large), Expanded(large));
    EXPECT_GT(rig.device->sizes.size(), kOutputBufferCount) << "all five, and again";

    rig.param.decodeAV.Set(false);
    EXPECT_TRUE(rig.Play(Frame(160)).empty());
    rig.param.decodeAV.Set(true);
    rig.param.audioCodec.Set(AudioCodec::None);
    EXPECT_TRUE(rig.Play(Frame(160)).empty());
    EXPECT_EQ(rig.device->opens, 1);
}

TEST(AudioLoop, MuteIsSilenceOfTheSameLength) {
    Rig rig(AudioCodec::Pcmu);
    rig.Play(Frame(160));
    rig.param.voiceMute.Set(true);
    EXPECT_EQ(rig.Play(Frame(160)).size(), 160u);
    EXPECT_EQ(rig.Play(Frame(160)), Samples(160, 0));
    rig.param.voiceMute.Set(false);
    rig.param.voiceVolume.Set(0);
    rig.Play(Frame(160));
    EXPECT_EQ(rig.Play(Frame(160)), Samples(160, 0));
    rig.param.voiceVolume.Set(kVolumeAsRecorded);
    rig.Play(Frame(160));
    EXPECT_EQ(rig.Play(Frame(160)), Expanded(Frame(160)));
}

TEST(AudioLoop, SoundIsLowerWhileSomebodyTalks) {
    Rig rig(AudioCodec::Pcmu);
    const Samples loud = rig.Play(Frame(160));
    rig.param.talkAttenuation.Set(12);
    rig.param.talkers = 2;
    rig.Play(Frame(160));
    const Samples lower = rig.Play(Frame(160));
    for (std::size_t i = 0; i < lower.size(); ++i)
        EXPECT_NEAR(lower[i], loud[i] * 0.2512, 1.5);
    --rig.param.talkers;
    EXPECT_EQ(rig.Play(Frame(160)), lower) << "the other one still talks";
    --rig.param.talkers;
    rig.Play(Frame(160));
    EXPECT_EQ(rig.Play(Frame(160)), loud);
}

TEST(AudioLoop, HoldsWhatIsEarlyAndFollowsJumps) {
    util::LogCapture log;
    util::Switches().timeSync.Set(1);
    Rig rig(AudioCodec::Pcmu);
    rig.device->speed = 1e6;  // always has room
    const double start = rig.device->nowMs;
    // Returns when the frame was played, in ms from the start.
    const auto playedAt = [&](std::uint32_t pts) {
        rig.device->played.clear();
        rig.Insert(Frame(160), pts);
        while (rig.device->played.empty())
            rig.loop->Step();
        return rig.device->nowMs - start;
    };
    EXPECT_EQ(playedAt(0), 0) << "unknown";
    EXPECT_EQ(playedAt(0), 0);
    EXPECT_EQ(playedAt(7000), 0) << "the base";
    EXPECT_EQ(playedAt(7020), 20);
    EXPECT_EQ(playedAt(7060), 60);
    EXPECT_EQ(playedAt(9000), 185) << "held for 125 ms, no longer";
    EXPECT_EQ(Count(log, "DecodeAudio(pts=9000) prev_diff = 125 > max_diff = 125 (ms), reset time sync"), 1);
    EXPECT_EQ(playedAt(9020), 205);
    rig.device->AdvanceTo(rig.device->nowMs + 144);
    EXPECT_EQ(playedAt(9040), 349) << "late, but not too late";
    EXPECT_EQ(Count(log, "DecodeAudio(pts=9040) cur_diff"), 0);
    rig.device->AdvanceTo(rig.device->nowMs + 21);
    EXPECT_EQ(playedAt(9060), 370);
    EXPECT_EQ(Count(log, "DecodeAudio(pts=9060) cur_diff = 125 > max_diff = 125 (ms), reset time sync"), 1);
    EXPECT_EQ(playedAt(9080), 370) << "the new base";
    EXPECT_EQ(playedAt(100), 370) << "a jump back";
    EXPECT_EQ(playedAt(120), 370);
    EXPECT_EQ(playedAt(140), 390);
    util::Switches().timeSync.Set(0);
}

TEST(AudioLoop, DropsOrWaitsWhenTheDeviceHasNoRoom) {
    for (const bool drop : {true, false}) {
        util::LogCapture log;
        MediaSettings settings;
        settings.enableDisplayFrameDrop = drop;
        Rig rig(AudioCodec::Pcmu, settings);
        rig.device->stalled = true;
        for (int i = 0; i < 4; ++i) {
            rig.Insert(Frame(160));
            if (i == 3 && !drop) {
                rig.clock->onWait = [&, waited = 0]() mutable { rig.device->stalled = ++waited < 250; };
            }
            rig.loop->Step();
        }
        // Two buffers were the cushion.
        EXPECT_EQ(rig.device->sizes.size(), drop ? 5u : 6u);
        EXPECT_EQ(Count(log, "DecodeAudio(pts=0) drop audio frame (size=160)"), drop ? 1 : 0);
        if (drop) continue;
        rig.device->stalled = true;
        rig.clock->onWait = [&, waited = 0]() mutable { rig.playback.running = ++waited < 30; };
        for (int i = 0; i < 9 && rig.playback.running; ++i) {
            rig.Insert(Frame(160));
            rig.loop->Step();
        }
        EXPECT_FALSE(rig.playback.running) << "the wait ends with the thread";
    }
}

TEST(AudioLoop, GetsOverADeviceThatVanishes) {
    for (const bool stalls : {false, true}) {
        util::LogCapture log;
        Rig rig(AudioCodec::Pcmu);
        const auto play = [&](int frames) {
            for (int i = 0; i < frames; ++i) {
                ASSERT_EQ(rig.Insert(Frame(160)), 1) << "the receiver isn't held up";
                rig.loop->Step();
                rig.device->AdvanceTo(rig.device->nowMs + 20);
            }
        };
        play(50);
        (stalls ? rig.device->stalled : rig.device->gone) = true;
        rig.device->refuse = true;
        play(500);
        EXPECT_EQ(Count(log, "the sound device is gone (error 6)"), 1);
        EXPECT_FALSE(rig.device->open);
        EXPECT_GE(rig.device->opens, 4);
        EXPECT_LE(rig.device->opens, 7) << "every two seconds";
        rig.device->gone = rig.device->stalled = rig.device->refuse = false;
        play(150);
        EXPECT_EQ(Count(log, "the sound device is there again"), 1);
        rig.device->played.clear();
        play(50);
        EXPECT_EQ(rig.device->played.size(), 50u * 160);
    }
}

// ---- AAC

constexpr std::size_t kAdtsHeader = 7;

Bytes Config(int rateIndex, int channels) {
    const int bits = 2 << 11 | rateIndex << 7 | channels << 3;
    return {static_cast<std::uint8_t>(bits >> 8), static_cast<std::uint8_t>(bits)};
}

std::vector<Bytes> Units(const std::string& clip) {
    std::vector<Bytes> units = codec::test::LoadPackets(clip);
    for (Bytes& unit : units)
        unit.erase(unit.begin(), unit.begin() + kAdtsHeader);
    return units;
}

TEST(AudioLoop, AacTakesItsRateFromTheConfiguration) {
    struct Case {
        const char* clip;
        Bytes config;
        std::uint32_t rateBefore;
        std::uint32_t rateAfter;
        bool sounds;
    };
    const Case cases[] = {
        {"aac_8000_1", Config(11, 1), 0, 8000, true},
        {"aac_16000_1", Config(8, 1), 0, 16000, true},
        {"aac_16000_2", Config(8, 2), 16000, 16000, true},
        {"aac_8000_1", Config(11, 1), 16000, 8000, true},
        {"aac_44100_2", Config(4, 2), 44100, 44100, true},  // no camera's rate: left alone
        {"aac_16000_1", Config(13, 1), 16000, 16000, false},
        {"aac_16000_1", {0x14}, 16000, 16000, false},
        {"aac_16000_1", {}, 0, 8000, false},
        {"aac_16000_1", Config(8, 7), 8000, 16000, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.clip + std::string(" from ") + std::to_string(c.rateBefore));
        Rig rig(AudioCodec::Aac, {}, c.rateBefore);
        rig.param.aacConfig.Set(c.config);
        const std::vector<Bytes> units = Units(c.clip);
        std::size_t samples = 0;
        int silent = 0;
        for (const Bytes& unit : units) {
            const Samples sound = rig.Play(unit);
            samples += sound.size();
            silent += std::all_of(sound.begin(), sound.end(), [](auto s) { return std::abs(s) < 2000; });
        }
        EXPECT_EQ(rig.param.audioSampleRate.Get(), c.rateAfter);
        EXPECT_EQ(rig.device->rate, c.rateAfter);
        EXPECT_EQ(samples, c.sounds ? units.size() * 1024 : 0);
        if (c.sounds) {
            EXPECT_LE(silent, 2);
        } else {
            // A configuration that comes late is used.
            rig.param.aacConfig.Set(Config(8, 1));
            rig.Play(units[0]);
            EXPECT_EQ(rig.Play(units[1]).size(), 1024u);
        }
    }
}

// ---- Long runs

struct Drift {
    double sender;  // relative error of its clock
    double device;
};

class AudioDrift : public testing::TestWithParam<Drift> {};

// An hour in which the clocks come 720 ms apart.
TEST_P(AudioDrift, DelayStaysBounded) {
    constexpr double kHourMs = 3.6e6;
    constexpr double kFrameMs = 20;
    constexpr double kBoundMs = (10 + kOutputBufferCount) * kFrameMs + 125 + 40;
    Rig rig(AudioCodec::Pcmu);
    rig.clock->leastSleepMs = 4;
    rig.device->speed = 1 + GetParam().device;
    const Bytes frame(160, 0x11);
    const double start = rig.device->nowMs;
    std::deque<double> sentAt;
    double longest = 0;
    int dropped = 0;
    rig.device->onWrite = [&] {
        if (rig.device->played.back() != 0) {
            longest = std::max(longest, rig.device->endMs - sentAt.front());
            sentAt.pop_front();
        }
        rig.device->played.clear();
        rig.device->sizes.clear();
    };
    std::uint32_t pts = 1000;
    for (double due = 0; due < kHourMs;) {
        if (rig.device->nowMs >= start + due) {
            sentAt.push_back(rig.device->nowMs);
            if (rig.Insert(frame, pts) != 1) {
                sentAt.pop_back();
                ++dropped;
            }
            pts += static_cast<std::uint32_t>(kFrameMs);
            due += kFrameMs / (1 + GetParam().sender);
        } else if (sentAt.empty()) {
            rig.device->AdvanceTo(start + due);
        } else {
            rig.loop->Step();
        }
    }
    EXPECT_LE(longest, kBoundMs);
    EXPECT_LE(dropped, 60) << "no more than the 720 ms";
    RecordProperty("longest_delay_ms", static_cast<int>(longest));
    RecordProperty("dropped", dropped);
}

INSTANTIATE_TEST_SUITE_P(Clocks, AudioDrift,
                         testing::Values(Drift{0.0002, 0}, Drift{-0.0002, 0}, Drift{0, 0.0002},
                                         Drift{0, -0.0002}));

// Gives buffers back on whatever thread asks for it.
class ThreadDevice final : public test::FakeDevice {
  public:
    bool Write(const std::shared_ptr<OutputBuffers>& owner, OutputBuffer& buffer) noexcept override {
        if (!m_owner) m_owner = owner;
        return m_playing.PutTail(&buffer);
    }
    bool Reset() noexcept override {
        while (ReturnOne()) {
        }
        return true;
    }
    bool ReturnOne() {
        OutputBuffer* const buffer = m_playing.Take(1);
        if (!buffer) return false;
        ++returnedCount;
        m_owner->GiveBack(buffer);
        return true;
    }
    std::atomic<int> returnedCount{0};

  private:
    FrameQueue<OutputBuffer> m_playing{kOutputBufferCount};
    std::shared_ptr<OutputBuffers> m_owner;  // written before the first buffer is queued
};

// For the thread sanitizer: the host, a receiver, the audio thread and the device at once.
TEST(AudioLoop, RunsBesideItsNeighbours) {
    AudioPlayback playback;
    playback.param = std::make_shared<CCtrlParam>(MediaSettings());
    CCtrlParam& param = *playback.param;
    param.audioCodec.Set(AudioCodec::Pcmu);
    auto owned = std::make_unique<ThreadDevice>();
    ThreadDevice& device = *owned;
    device.open = true;
    playback.device = std::move(owned);
    SystemClock clock;
    std::atomic<bool> ended{false};
    std::thread player([&] {
        AudioLoop(playback, clock).Run();
        ended = true;
    });
    std::thread output([&] {
        while (!ended)
            device.ReturnOne();
    });
    std::thread receiver([&] {
        for (std::uint32_t i = 0; i < 400; ++i) {
            const Bytes frame = Frame(100 + i);
            param.InsertFrameToAudioBuffer(frame.data(), frame.size(), i % 50 == 0 ? 0 : 1000 + i);
            param.voiceMute.Set(i % 3 == 0);
            param.voiceVolume.Set(static_cast<std::int32_t>(i % 101));
        }
    });
    receiver.join();
    while (device.returnedCount < 100)
        std::this_thread::yield();
    playback.running = false;
    player.join();
    output.join();
    EXPECT_FALSE(device.ReturnOne()) << "the end lets nothing play on";
}

}  // namespace
}  // namespace norix
