#include <gtest/gtest.h>

#include "media/FrameRateMeter.h"
#include "media/FrameTimingTrace.h"
#include "media/PtsMonitor.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MediaPlatformFake.h"
#include "util/Log.h"

namespace norix {
namespace {

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
