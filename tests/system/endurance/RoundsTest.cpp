// Many connections of one control leave nothing behind; cameras that come back are found again.

#include <gtest/gtest.h>

#include "tests/system/endurance/LiveView.h"
#include "tests/system/endurance/Measure.h"
#include "tests/system/endurance/Use.h"

namespace {

// What the system caches on first use is there after these.
constexpr int kWarmUpRounds = 8;

class RoundsTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!cameras::Available()) GTEST_SKIP() << "needs run.py";
        ASSERT_TRUE(module);
    }
    const ControlModule module;
};

TEST_F(RoundsTest, ConnectingAgainAndAgain) {
    LiveView view(module);
    const auto play = [&](int round) {
        const Way& way = kWays[round % std::size(kWays)];
        SCOPED_TRACE(way.name);
        view.Aim(way);
        ASSERT_EQ(view.Connect(), 0);
        ASSERT_TRUE(view.AwaitPicture());
        view.Disconnect();
    };
    for (int round = 0; round < kWarmUpRounds; ++round)
        ASSERT_NO_FATAL_FAILURE(play(round));
    const Use before = Settled();
    Print("before: ", before);
    const int rounds = Rounds(24);
    for (int round = 0; round < rounds; ++round) {
        ASSERT_NO_FATAL_FAILURE(play(round)) << "round " << round;
        if (round % 200 == 199) Print("meanwhile: ", Settled());
    }
    const Use after = Settled();
    Print("after:  ", after);
    ExpectNoGrowth(before, after, rounds);
}

TEST_F(RoundsTest, CameraComesBack) {
    LiveView view(module);
    view.Aim(kTcp);
    view.Set(L"AutoReconnect", true);
    ASSERT_EQ(view.Connect(), 0);
    ASSERT_TRUE(view.AwaitPicture());
    const int rounds = Rounds(1);
    for (int round = 0; round < rounds; ++round) {
        const Way& way = kWays[round % 3];
        view.Set(L"VideoProtocol", way.protocol);
        view.statuses.clear();
        cameras::Kill("main");
        ASSERT_TRUE(view.AwaitStatus(kConnectFail, 20000));
        // At first it is there again for the first attempt, later at any moment of one.
        constexpr int kStepMs = 613;
        constexpr int kSpanMs = 7000;
        PumpFor(static_cast<DWORD>(50 + round * kStepMs % kSpanMs));
        view.Remember();
        cameras::Restart("main");
        ASSERT_TRUE(Await([&] { return cameras::IsThere("main") && view.PictureChanged(); }, 30000))
            << "round " << round;
    }
}

}  // namespace
