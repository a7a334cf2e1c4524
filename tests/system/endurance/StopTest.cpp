// Disconnect ends soon, whatever the connection is doing.

#include <gtest/gtest.h>

#include <functional>

#include "tests/system/endurance/LiveView.h"
#include "tests/system/endurance/Measure.h"
#include "util/StopRule.h"

namespace {

// Each thread may take the stop rule's whole time.
constexpr double kBoundMs = util::kStopWaitMs * (util::kStopAttempts + 1.0);

struct State {
    const char* name;
    // Brings a connection there. `round` varies what has no exact moment.
    std::function<void(LiveView& view, int round)> enter;
    std::function<void()> leave = [] {};
};

void Play(LiveView& view, const Way& way) {
    view.Aim(way);
    ASSERT_EQ(view.Connect(), 0) << way.name;
    ASSERT_TRUE(view.AwaitPicture()) << way.name;
}

// In the middle of what comes between Connect and the first picture.
void Begin(LiveView& view, const Way& way, int round) {
    constexpr int kStepMs = 7;
    constexpr int kSpanMs = 150;
    view.Aim(way);
    ASSERT_EQ(view.Connect(), 0) << way.name;
    PumpFor(static_cast<DWORD>(round * kStepMs % kSpanMs));
}

DWORD MomentOf(int round) {
    return static_cast<DWORD>(round * 100 % 2000);
}

void Lose(LiveView& view, const Way& way, int round) {
    Play(view, way);
    cameras::Kill(way.camera);
    PumpFor(MomentOf(round));
}

void Freeze(LiveView& view, const Way& way, int round) {
    Play(view, way);
    cameras::Freeze(way.camera);
    PumpFor(MomentOf(round));
}

const State kStates[] = {
    {"no answer to a TCP connection",
     [](LiveView& view, int) {
         view.Aim(kTcp);
         view.AimAtStream(cameras::Of("hole").rtsp);
         EXPECT_EQ(view.Connect(), 0);
     }},
    {"no answer to a connection for commands",
     [](LiveView& view, int) {
         view.Aim(cameras::Of("hole"), kTcp.protocol);
         EXPECT_EQ(view.Connect(), 0);
     }},
    {"no answer to HTTP commands, then connecting",
     [](LiveView& view, int) {
         view.Aim(cameras::Of("deaf"), kTcp.protocol);
         view.AimAtStream(cameras::Of("deaf").rtsp);
         EXPECT_EQ(view.Connect(), 0);
     }},
    {"a host name that does not exist",
     [](LiveView& view, int) {
         view.Aim(kTcp);
         view.Set(L"StreamUri", L"rtsp://camera.invalid/");
         view.Connect();
     }},
    {"connected, no media",
     [](LiveView& view, int) {
         view.Aim(cameras::Of("silent"), kUdp.protocol);
         EXPECT_EQ(view.Connect(), 0);
         EXPECT_TRUE(view.AwaitStatus(kConnected));
     }},
    {"connecting, UDP", [](LiveView& view, int round) { Begin(view, kUdp, round); }},
    {"connecting, TCP", [](LiveView& view, int round) { Begin(view, kTcp, round); }},
    {"connecting, RTSP in HTTP", [](LiveView& view, int round) { Begin(view, kTunnel, round); }},
    {"playing, UDP", [](LiveView& view, int) { Play(view, kUdp); }},
    {"playing, TCP", [](LiveView& view, int) { Play(view, kTcp); }},
    {"playing, RTSP in HTTP", [](LiveView& view, int) { Play(view, kTunnel); }},
    {"playing, Motion JPEG over HTTP", [](LiveView& view, int) { Play(view, kMotionJpeg); }},
    {"playing and the clocks are learned",
     [](LiveView& view, int round) {
         constexpr DWORD kLearnMs = 10500;
         Play(view, kUdp);
         if (round == 0) PumpFor(Rounds(0) ? kLearnMs : 0);
     }},
    {"camera gone, UDP", [](LiveView& view, int round) { Lose(view, kUdp, round); },
     [] { cameras::Of("main"); }},
    {"camera gone, TCP", [](LiveView& view, int round) { Lose(view, kTcp, round); },
     [] { cameras::Of("main"); }},
    {"camera frozen, TCP", [](LiveView& view, int round) { Freeze(view, kTcp, round); },
     [] { cameras::Thaw("main"); }},
    {"camera frozen, RTSP in HTTP", [](LiveView& view, int round) { Freeze(view, kTunnel, round); },
     [] { cameras::Thaw("main"); }},
    {"camera frozen, Motion JPEG over HTTP",
     [](LiveView& view, int round) { Freeze(view, kMotionJpeg, round); }, [] { cameras::Thaw("mjpeg"); }},
};

TEST(StopTest, DisconnectInEveryState) {
    if (!cameras::Available()) GTEST_SKIP() << "needs run.py";
    const ControlModule module;
    ASSERT_TRUE(module);
    const int rounds = Rounds(1);
    for (const State& state : kStates) {
        for (int round = 0; round < rounds; ++round) {
            SCOPED_TRACE(state.name);
            LiveView view(module);
            ASSERT_NO_FATAL_FAILURE(state.enter(view, round));
            const double begin = NowMs();
            view.Disconnect();
            EXPECT_EQ(view.statuses.back(), kDisconnected);
            view.Destroy();
            EXPECT_LT(NowMs() - begin, kBoundMs);
            state.leave();
        }
    }
    EXPECT_EQ(module.CanUnloadNow(), S_OK);
}

}  // namespace
