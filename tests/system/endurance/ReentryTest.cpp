// What a host may do inside an event or in the midst of everything: disconnect, connect, let go of the
// control, destroy the window.

#include <gtest/gtest.h>

#include <functional>

#include "tests/system/endurance/LiveView.h"
#include "tests/system/endurance/Measure.h"

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
    {"lets go", [](LiveView& view) { view.Destroy(); }},
    {"destroys the window", [](LiveView& view) { view.DestroyWindow(); }},
};

class ReentryTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!cameras::Available()) GTEST_SKIP() << "needs run.py";
        ASSERT_TRUE(module);
    }
    void TearDown() override {
        // Nothing of the module lives on, not even a thread.
        if (module) {
            EXPECT_TRUE(Await([this] { return module.CanUnloadNow() == S_OK; }, 6000));
        }
    }
    const ControlModule module;
};

TEST_F(ReentryTest, InsideStatusEvents) {
    const int rounds = Rounds(1);
    for (const Status status : {kConnecting, kConnected, kDisconnected, kConnectFail}) {
        for (const Deed& deed : kDeeds) {
            for (int round = 0; round < rounds; ++round) {
                const Way& way = kWays[round % std::size(kWays)];
                SCOPED_TRACE(testing::Message() << "inside status " << status << " the host " << deed.name
                                                << ", " << way.name << ", round " << round);
                LiveView view(module);
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
    const int rounds = Rounds(1);
    int count = 0;
    for (const Deed& deed : kDeeds) {
        for (const Way& way : kWays) {
            for (int round = 0; round < rounds; ++round) {
                SCOPED_TRACE(testing::Message() << deed.name << ", " << way.name << ", round " << round);
                LiveView view(module);
                view.Aim(way);
                view.Connect();
                PumpFor(static_cast<DWORD>(++count * kStepMs % kSpanMs));
                deed.act(view);
                PumpFor(static_cast<DWORD>(round % 20));
            }
        }
    }
}

}  // namespace
