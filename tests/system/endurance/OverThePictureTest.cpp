// What hosts do while the picture plays: call anything inside any event.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <vector>

#include "tests/system/endurance/LiveView.h"
#include "tests/system/endurance/Measure.h"
#include "tests/system/endurance/Use.h"

namespace {

class OverThePictureTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!cameras::Available()) GTEST_SKIP() << "needs run.py";
        ASSERT_TRUE(module);
    }
    std::unique_ptr<LiveView> Play(int place, const Way& way) {
        const long left = place % 2 * 330;
        const long top = place / 2 * 250;
        auto view = std::make_unique<LiveView>(module, RECT{left, top, left + 320, top + 240});
        view->Aim(way);
        EXPECT_EQ(view->Connect(), 0);
        EXPECT_TRUE(view->AwaitPicture());
        return view;
    }
    const ControlModule module;
};

// Four views whose host calls everything inside every event and pumps messages there, while the streams begin
// again and again.
TEST_F(OverThePictureTest, AnythingInsideAnyEvent) {
    struct Host {
        std::unique_ptr<LiveView> view;
        int depth = 0;
        int calls = 0;
        int asked = 0;
        int answered = 0;
        std::map<long, int> answers;  // by format
    };
    std::array<Host, 4> hosts;
    constexpr int kKinds = 8;  // of calls
    const auto callNext = [](Host& host) {
        LiveView& view = *host.view;
        const long index = host.calls % 3;
        switch (host.calls++ % kKinds) {
            case 0:
                ++host.asked;
                view.Call(L"GetSnapshotData", {1L});
                break;
            case 1:
                view.Call(L"RotateVideo", {host.calls % 4 * 90L});
                break;
            case 2:
                view.Call(L"CreateOverlappedWindow", {index, 10L, 10L, 200L, 100L, true, true, L"box"});
                break;
            case 3:
                view.Call(L"DrawEllipse", {10L, 10L, 300L, 200L, 0L, 0L});
                break;
            case 4:
                view.Call(L"PreviewFullScreen", {true});
                break;
            case 5:
                view.Call(L"PreviewFullScreen", {false});
                view.Call(L"EnableDigitalPTZ", {host.calls % 16 < 8});
                break;
            case 6:
                view.Call(L"DeleteOverlappedWindow", {index});
                view.Call(L"RemoveAllGraphicObjs");
                break;
            default:
                view.Call(L"Disconnect");
                view.Connect();
        }
    };
    for (std::size_t i = 0; i < hosts.size(); ++i) {
        Host& host = hosts[i];
        host.view = Play(static_cast<int>(i), kWays[i % 3]);  // Motion JPEG gives no snapshot data
        host.view->Set(L"NotifyVideoData", true);
        host.view->onAny = [&](const Event& event) {
            if (event.member->name == L"OnNotifySnapshotData") ++host.answered;
            if (host.depth >= 3 || host.calls >= Rounds(1) * kKinds) return;
            ++host.depth;
            callNext(host);
            PumpFor(10);
            --host.depth;
        };
    }
    const int calls = Rounds(1) * kKinds;
    EXPECT_TRUE(Await(
        [&] { return std::ranges::all_of(hosts, [&](const Host& host) { return host.calls >= calls; }); },
        Rounds(1) * 60'000));
    for (Host& host : hosts) {
        LiveView& view = *host.view;
        view.onAny = [&](const Event& event) {
            if (event.member->name != L"OnNotifySnapshotData") return;
            ++host.answered;
            ++host.answers[event.arguments.front()->lVal];
        };
        view.Call(L"Disconnect");
        EXPECT_LE(host.answered, host.asked);
        view.Call(L"PreviewFullScreen", {false});
        ASSERT_EQ(view.Connect(), 0);
        ASSERT_TRUE(view.AwaitPicture());
        // Each request is answered once, also after all that.
        for (const long format : {7L, 8L}) {
            view.Call(L"GetSnapshotData", {format});
            EXPECT_TRUE(Await([&] { return host.answers[format] > 0; }, 10'000));
        }
        EXPECT_EQ(host.answers[7], 1);
        for (long index = 0; index < 3; ++index) {
            view.Call(L"DeleteOverlappedWindow", {index});
            EXPECT_EQ(static_cast<long>(view.Call(L"DeleteOverlappedWindow", {index})), E_FAIL) << "twice";
        }
    }
}

}  // namespace
