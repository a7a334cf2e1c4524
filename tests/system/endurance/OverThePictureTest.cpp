// What hosts do with the picture while it plays.

#include <gtest/gtest.h>

#include <array>
#include <iostream>
#include <memory>
#include <set>

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

// Before anything else in this process draws.
TEST_F(OverThePictureTest, DrawingForHoursLeavesNothing) {
    const std::array views = {Play(0, kTcp), Play(1, kUdp)};
    std::set<long> shapes;
    const auto draw = [&](LiveView& view) {
        const _variant_t pen = view.Call(L"CreatePen", {255L, 0L, 0L, 3L, 0L});
        const _variant_t brush = view.Call(L"CreateBrush", {0L, 0L, 255L});
        const _variant_t font = view.Call(L"CreateFont", {0L, 255L, 0L, 120L, L"Tahoma"});
        const _variant_t drawn[] = {
            view.Call(L"DrawLine", {0L, 0L, 600L, 300L, pen}),
            view.Call(L"DrawEllipse", {50L, 50L, 200L, 100L, pen, brush}),
            view.Call(L"DrawText", {L"text", 100L, 200L, 200L, 50L, 0L, font, brush})};
        for (const _variant_t& shape : drawn)
            ASSERT_TRUE(shapes.insert(static_cast<long>(shape)).second) << "two of a number";
        for (const _variant_t& gone : {drawn[0], drawn[1], drawn[2], pen, brush, font})
            ASSERT_EQ(static_cast<long>(view.Call(L"RemoveGraphicObj", {gone})), 0);
    };
    const auto rounds = [&](int count) {
        for (int i = 0; i < count; ++i) {
            for (const auto& view : views)
                ASSERT_NO_FATAL_FAILURE(draw(*view));
            if (i % 10 == 0) PumpFor(5);
        }
    };
    ASSERT_NO_FATAL_FAILURE(rounds(100));
    EXPECT_EQ(*shapes.begin(), 0);
    EXPECT_EQ(*shapes.rbegin(), 599) << "one counter for all controls";
    const Use before = Settled();
    ASSERT_NO_FATAL_FAILURE(rounds(Rounds(500)));
    const Use after = Settled();
    Print("before: ", before);
    Print("after:  ", after);
    EXPECT_EQ(after.resources.gdiSlots, before.resources.gdiSlots);
    EXPECT_EQ(after.resources.userSlots, before.resources.userSlots);
    for (const auto& view : views) {
        std::cout << "pictures per second: " << view->frameRate << std::endl;
        EXPECT_GT(view->frameRate, 0) << "it still plays";
    }
}

}  // namespace
