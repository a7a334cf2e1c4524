// What a host may do inside an event or in the midst of everything: disconnect, connect, let go of the
// control, destroy the window.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/system/endurance/LiveView.h"
#include "tests/system/endurance/Measure.h"
#include "tests/system/endurance/Use.h"

namespace {

struct Deed {
    const char* name;
    std::function<void(LiveView&)> act;
};

const Deed kDeeds[] = {
    {"disconnects", [](LiveView& view) { view.Disconnect(); }},
    {"connects", [](LiveView& view) { view.Connect(); }},
    {"disconnects and connects",
     [](LiveView& view) {
         view.Disconnect();
         view.Connect();
     }},
    {"runs a message loop", [](LiveView&) { PumpFor(100); }},
    {"lets go", [](LiveView& view) { view.Destroy(); }},
    {"destroys the window", [](LiveView& view) { view.DestroyWindow(); }},
};

class ReentryTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!cameras::Available()) GTEST_SKIP() << "needs run.py";
        ASSERT_TRUE(module);
        if (rounds == 1) return;
        for (const Way& way : kWays) {
            LiveView view(module);
            view.Aim(way);
            view.Connect();
            view.AwaitPicture();
        }
        before = Settled();
    }
    void TearDown() override {
        if (!module || !cameras::Available()) return;
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        if (rounds == 1) return;
        const Use after = Settled();
        Print("before: ", before);
        Print("after:  ", after);
        ExpectNoGrowth(before, after, lives);
    }

    const ControlModule module;
    const int rounds = Rounds(1);  // with more than one, what is left behind is looked at
    int lives = 0;
    Use before;
};

TEST_F(ReentryTest, InsideStatusEvents) {
    for (const Status status : {kConnecting, kConnected, kDisconnected, kConnectFail}) {
        for (const Deed& deed : kDeeds) {
            for (int round = 0; round < rounds; ++round) {
                const Way& way = kWays[round % std::size(kWays)];
                SCOPED_TRACE(testing::Message() << "inside status " << status << " the host " << deed.name
                                                << ", " << way.name << ", round " << round);
                LiveView view(module);
                ++lives;
                view.Aim(way);
                if (status == kConnectFail) view.AimAtStream(cameras::Of(way.camera).rtsp, L"nothing");
                bool done = false;
                view.onStatus = [&](int reported) {
                    if (done || reported != status) return;
                    done = true;
                    deed.act(view);
                };
                view.Connect();
                if (status == kDisconnected) {
                    view.AwaitStatus(kConnected);
                    view.Disconnect();
                }
                EXPECT_TRUE(Await([&] { return done; }, 12000));
                PumpFor(static_cast<DWORD>(round * 7 % 50));
                if (view.Exists()) view.Disconnect();
            }
        }
    }
}

TEST_F(ReentryTest, AtAnyMoment) {
    constexpr int kStepMs = 71;
    constexpr int kSpanMs = 400;
    for (const Deed& deed : kDeeds) {
        for (const Way& way : kWays) {
            for (int round = 0; round < rounds; ++round) {
                SCOPED_TRACE(testing::Message() << deed.name << ", " << way.name << ", round " << round);
                LiveView view(module);
                ++lives;
                view.Aim(way);
                view.Connect();
                PumpFor(static_cast<DWORD>(lives * kStepMs % kSpanMs));
                deed.act(view);
                PumpFor(static_cast<DWORD>(round % 20));
            }
        }
    }
}

}  // namespace
