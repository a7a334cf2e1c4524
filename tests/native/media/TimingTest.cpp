#include <gtest/gtest.h>

#include "media/FrameRateMeter.h"
#include "media/FrameTimingTrace.h"
#include "media/MediaPlatformFake.h"
#include "media/PtsMonitor.h"
#include "util/Log.h"
#include "util/LogCapture.h"

namespace norix {
namespace {

TEST(PtsMonitor, ReportsStepsOutsideTheRange) {
    struct Case {
        std::uint32_t pts, last, target, range;
        bool report;
    };
    for (const Case& c : {
             Case{1033, 1000, 33, 5, false},
             Case{1028, 1000, 33, 5, true},  // the bounds themselves are outside
             Case{1029, 1000, 33, 5, false},
             Case{1037, 1000, 33, 5, false},
             Case{1038, 1000, 33, 5, true},
             Case{33, 0, 33, 5, false},       // nothing before it
             Case{1033, 1000, 33, 0, true},   // no range: every step
             Case{1033, 1000, 33, 33, true},  // a range equal to the target is none
             Case{990, 1000, 33, 50, true},   // backwards is a very large step
             Case{1001, 1000, 0, 5, false},   // a target of 0 is 1
             Case{10, 0xFFFFFFF0u, 26, 5, false},
         }) {
        EXPECT_EQ(JudgePtsStep(c.pts, c.last, {c.target, c.range}).report, c.report) << c.pts;
    }
}

TEST(PtsMonitor, LogsWithTheSettingsOfTheMoment) {
    platform::FakePlatform fake;
    const util::LogCapture log;
    ShowPTSDiff(1000, 30);
    ShowPTSDiff(1100, 30);
    EXPECT_TRUE(log.Contains("ShowPTSDiff(pts=1100) pts difference = 100 ms (out-of-range: <=28 >=38)"));
    fake.pts = {100, 5};
    ShowPTSDiff(1200, 30);
    EXPECT_FALSE(log.Contains("pts=1200"));
}

TEST(FrameRateMeter, AveragesTheLastFivePasses) {
    FrameRateMeter meter(0xFFFFFF00u);  // the tick count wraps during the first pass
    std::uint32_t now = 0xFFFFFF00u;
    const auto pass = [&](std::uint32_t ms, std::uint32_t displayed) {
        now += ms;
        return meter.Pass(now, {displayed + 2, displayed + 1, displayed}).average;
    };
    EXPECT_EQ(pass(1000, 25), 25u);
    EXPECT_EQ(pass(1000, 30), 28u);  // 27.5 rounds up
    EXPECT_EQ(pass(2000, 50), 27u);  // 25 a second: 80 / 3
    EXPECT_EQ(pass(990, 30), 28u);   // timers tick a little early, too: 110 / 4
    EXPECT_EQ(pass(400, 25), 22u);   // no time for a rate: 110 / 5
    EXPECT_EQ(pass(1000, 0), 17u);   // the first 25 falls out
    const FrameRates rates = meter.Pass(now + 1000, {9, 8, 7});
    EXPECT_EQ(rates.received, 9u);
    EXPECT_EQ(rates.decoded, 8u);
    EXPECT_EQ(rates.displayed, 7u);
    meter.Reset(now);
    EXPECT_EQ(pass(1000, 10), 10u);
}

class FrameTimingTraceTest : public testing::Test {
  protected:
    FrameTimingTraceTest() { util::Switches().frameTimeInfo.Set(1); }
    ~FrameTimingTraceTest() override { util::Switches().frameTimeInfo.Set(0); }

    FrameTimingTrace m_trace;
};

TEST_F(FrameTimingTraceTest, GivesOneLinePerDisplayedFrame) {
    const util::LogCapture log;
    m_trace.Record(40, FrameTimingTrace::kReceived, 1'000'000);
    m_trace.Record(80, FrameTimingTrace::kReceived, 1'000'500);
    m_trace.Record(40, FrameTimingTrace::kInserted, 1'010'000);
    m_trace.Record(40, FrameTimingTrace::kDecoded, 1'050'000);
    m_trace.Record(40, FrameTimingTrace::kDisplayed, 1'350'000);
    FrameTimingTrace::Times times;
    ASSERT_TRUE(m_trace.Close(40, &times));
    EXPECT_DOUBLE_EQ(times.Between(FrameTimingTrace::kReceived, FrameTimingTrace::kDisplayed), 35.0);
    EXPECT_TRUE(
        log.Contains("FrameTimeInfo(pts=40) received-inserted = 1.00, inserted-decoded = 4.00, "
                     "decoded-displayed = 30.00, received-displayed = 35.00 (ms)"));
    EXPECT_FALSE(m_trace.Close(40));
    EXPECT_EQ(log.Lines().size(), 1u);
}

TEST_F(FrameTimingTraceTest, ForgetsTheOldestAndTellsEqualStampsApart) {
    for (std::uint32_t pts = 0; pts < 1000; ++pts)
        m_trace.Record(pts, FrameTimingTrace::kReceived, pts + 1);
    EXPECT_FALSE(m_trace.Close(900));
    EXPECT_TRUE(m_trace.Close(999));
    // Streams without time stamps: the youngest frame is meant.
    m_trace.Record(0, FrameTimingTrace::kReceived, 10);
    m_trace.Record(0, FrameTimingTrace::kReceived, 20);
    FrameTimingTrace::Times times;
    ASSERT_TRUE(m_trace.Close(0, &times));
    EXPECT_EQ(times.at[0], 20u);

    m_trace.Stop();
    m_trace.Record(1, FrameTimingTrace::kReceived, 1);
    EXPECT_FALSE(m_trace.Close(1));
    m_trace.Start();
    EXPECT_FALSE(m_trace.Close(0));  // Stop forgot it
}

}  // namespace
}  // namespace norix
