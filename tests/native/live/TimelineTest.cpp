// When frames play, by an injected clock.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "live/env/Clock.h"
#include "live/rtp/Timeline.h"

namespace live_test {
namespace {

using live::rtp::SenderReport;
using live::rtp::SessionTimeline;
using live::rtp::StreamTimeline;

constexpr std::int64_t kMs = 1000;
constexpr std::int64_t kWall = 1'700'000'000'000'000;
constexpr std::uint32_t kNearWrap = 0xFFFFFF00;

SenderReport reportAt(double seconds, std::uint32_t timestamp) {
    constexpr std::uint64_t kBase = 3'900'000'000;  // 2023
    SenderReport report;
    report.ntpTime = static_cast<std::uint64_t>((static_cast<double>(kBase) + seconds) * 4294967296.0);
    report.rtpTimestamp = timestamp;
    return report;
}

struct Timeline : testing::Test {
    SessionTimeline session;
    StreamTimeline video{session, 90000};
    StreamTimeline sound{session, 8000};
    // Milliseconds everywhere.
    static std::int64_t at(StreamTimeline& stream, std::uint32_t timestamp, std::int64_t now) {
        return stream.at(timestamp, now * kMs, kWall + now * kMs).position / kMs;
    }
};

TEST_F(Timeline, FollowsRtpInfoOrTheFirstFrame) {
    session.play(20, 1);
    video.setRtpInfo(1000);
    EXPECT_EQ(at(video, 1000 + 45000, 0), 20500);
    EXPECT_EQ(at(video, 1000 + 90000, 9), 21000);
    sound.setRtpInfo(0);  // a random timestamp base against rtptime=0
    EXPECT_EQ(at(sound, 123'456'789, 250), 20250) << "by when it arrived";
    EXPECT_EQ(at(sound, 123'456'789 + 800, 251), 20350);
    session.play(3, 2);
    sound.setRtpInfo({});
    EXPECT_EQ(at(sound, 123'456'789 + 1600, 7), 3000) << "played anew";
    EXPECT_EQ(at(sound, 123'456'789 + 2400, 8), 3200) << "twice as fast";
}

TEST_F(Timeline, GoesOnOverEveryKindOfJump) {
    struct Step {
        const char* what;
        std::uint32_t timestamp;
        std::int64_t now;
        std::int64_t position;
    };
    const Step steps[] = {{"first", kNearWrap, 1000, 0},
                          {"over the wrap", kNearWrap + 90000, 2000, 1000},
                          {"a B-picture", kNearWrap + 90000 - 18000, 2001, 800},
                          {"kept by the server", kNearWrap + 6 * 90000, 2010, 6000},
                          {"back by hours", kNearWrap + 6 * 90000 - 900'000'000, 2510, 6500},
                          {"and on", kNearWrap + 6 * 90000 - 900'000'000 + 9000, 2610, 6600},
                          {"ahead by hours", 7, 2710, 6700},
                          {"after a long silence", 7 + 60 * 90000, 62'710, 66'700}};
    for (const Step& step : steps)
        EXPECT_EQ(at(video, step.timestamp, step.now), step.position) << step.what;
    video.onNewSender();
    EXPECT_EQ(at(video, 5, 62'810), 66'800) << "another sender";
}

TEST_F(Timeline, SoundAndPictureMeetByTheSendersReports) {
    // The server kept a group of pictures of two seconds; sound begins now. The reports come in either order.
    for (const bool soundFirst : {false, true}) {
        SessionTimeline shared;
        StreamTimeline picture(shared, 90000), voice(shared, 8000);
        for (std::uint32_t i = 0; i <= 50; ++i)
            at(picture, 5000 + i * 3600, 100);
        std::int64_t last = at(voice, 700, 100);
        EXPECT_EQ(last, 0);
        if (soundFirst) voice.onSenderReport(reportAt(12, 700));
        picture.onSenderReport(reportAt(12, 5000 + 50 * 3600));
        if (!soundFirst) voice.onSenderReport(reportAt(12, 700));
        // An event at one moment of the sender's clock.
        EXPECT_EQ(at(picture, 5000 + 75 * 3600, 1100), at(voice, 700 + 8000, 1100));
        EXPECT_GE(at(voice, 700 + 8800, 1200), last) << "never back";
        // Small differences are left alone, and so is a clock that has nothing to do with the other.
        picture.onSenderReport(reportAt(13.01, 5000 + 75 * 3600));
        EXPECT_EQ(at(picture, 5000 + 100 * 3600, 2100), at(voice, 700 + 16000, 2100));
        voice.onSenderReport(reportAt(5000, 700 + 16000));
        EXPECT_EQ(at(picture, 5000 + 125 * 3600, 3100), at(voice, 700 + 24000, 3100));
    }
}

TEST_F(Timeline, AReportOfWhatPlayedBeforeMovesNobody) {
    at(video, 0, 0);
    EXPECT_EQ(at(video, 5 * 90000, 5000), 5000);
    session.play(0, 1);
    video.onSenderReport(reportAt(50, 5 * 90000));  // was on its way
    EXPECT_EQ(at(video, 3'000'000, 6000), 0);
    EXPECT_EQ(at(sound, 700, 6000), 0);
    sound.onSenderReport(reportAt(50, 700));
    video.onSenderReport(reportAt(90, 40 * 90000));  // far from all frames
    EXPECT_EQ(at(sound, 1500, 6100), 100);
    EXPECT_EQ(at(video, 3'009'000, 6100), 100);
}

TEST_F(Timeline, AClockThatIsSetMovesNobody) {
    at(video, 0, 0);
    at(sound, 0, 0);
    video.onSenderReport(reportAt(100, 0));
    sound.onSenderReport(reportAt(100, 0));
    for (const double step : {-1.5, 3600.0}) {
        video.onSenderReport(reportAt(105 + step, 5 * 90000));
        sound.onSenderReport(reportAt(105 + step, 5 * 8000));
        EXPECT_EQ(at(video, 5 * 90000, 5000), 5000) << step;
        EXPECT_EQ(at(sound, 5 * 8000, 5000), 5000) << step;
    }
    // The sound's clock runs slow: it is caught up with before it is 40 ms away.
    for (unsigned i = 1; i <= 20; ++i) {
        video.onSenderReport(reportAt(3705 + i * 5, (5 + i * 5) * 90000));
        sound.onSenderReport(reportAt(3705 + i * 5, 5 * 8000 + i * 39900));
        EXPECT_NEAR(static_cast<double>(at(video, (5 + i * 5) * 90000, 5000 + i * 5000)),
                    static_cast<double>(at(sound, 5 * 8000 + i * 39900, 5000 + i * 5000)), 40)
            << i;
    }
}

// Cameras stamp a report with the last frame's time, so that each is off by up to a frame.
TEST_F(Timeline, UnsteadyReportsDontAddUp) {
    for (const unsigned jitter : {33u, 66u}) {
        SessionTimeline shared;
        StreamTimeline picture(shared, 90000), voice(shared, 8000);
        std::uint32_t random = 1;
        const auto late = [&] { return (random = random * 1664525 + 1013904223) / 65536 % (jitter + 1); };
        std::int64_t last = -1;
        std::int64_t farthest = 0;
        for (std::uint32_t ms = 0; ms <= 3'600'000; ms += 40) {
            const std::int64_t position = at(picture, ms * 90, ms);
            ASSERT_GE(position, last);
            last = position;
            farthest = std::max<std::int64_t>(farthest, std::llabs(position - ms));
            farthest = std::max<std::int64_t>(farthest, std::llabs(at(voice, ms * 8, ms) - position));
            if (ms % 5000 != 0) continue;
            picture.onSenderReport(reportAt((ms + late()) * 1e-3, ms * 90));
            voice.onSenderReport(reportAt((ms + late()) * 1e-3, ms * 8));
        }
        EXPECT_LT(farthest, jitter + 7) << jitter;
    }
}

TEST_F(Timeline, WallClockAndItsEnds) {
    StreamTimeline::Time time = video.at(kNearWrap, 0, kWall);
    EXPECT_EQ(time.wall, kWall);
    EXPECT_EQ(video.at(kNearWrap + 90000, 5, kWall + 5).wall, kWall + 1'000'000) << "arrival counts once";
    video.onSenderReport(SenderReport{});
    EXPECT_FALSE(video.synchronized());
    SenderReport report;
    report.ntpTime = (2'208'988'800ull + 4'000'000'000u) << 32 | 0x8000'0000u;  // 2096: NTP's second era
    report.rtpTimestamp = kNearWrap + 90000;
    video.onSenderReport(report);
    EXPECT_TRUE(video.synchronized());
    time = video.at(kNearWrap + 180000, 2000 * kMs, kWall);
    EXPECT_EQ(time.wall, 4'000'000'001'500'000);
    EXPECT_EQ(time.position, 2'000'000) << "and nobody moves";

    // As 32-bit systems hold it.
    timeval before{}, after{};
    before.tv_sec = static_cast<decltype(before.tv_sec)>(INT32_MAX);
    before.tv_usec = 900'000;
    after.tv_sec = static_cast<decltype(after.tv_sec)>(INT32_MIN);
    EXPECT_EQ(live::microsecondsBetween(before, after), 100'000);
    EXPECT_EQ(live::microsecondsBetween(after, before), -100'000);
}

}  // namespace
}  // namespace live_test
