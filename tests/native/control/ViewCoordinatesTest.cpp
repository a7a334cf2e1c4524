#include "control/view/ViewCoordinates.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace norix {

inline bool operator==(const ViewPoint& a, const ViewPoint& b) {
    return a.x == b.x && a.y == b.y;
}
inline void PrintTo(const ViewPoint& point, std::ostream* out) {
    *out << '(' << point.x << ", " << point.y << ')';
}

namespace {

constexpr long kMax = std::numeric_limits<std::int32_t>::max();
constexpr long kMin = std::numeric_limits<std::int32_t>::min();

std::optional<ViewPoint> ConvertPoint(ViewPoint point, ViewSize video, ViewSize window) {
    const std::optional<ViewPoint> there = VideoToWindow(point, {video, window});
    // The way back scales the same way.
    EXPECT_EQ(WindowToVideo(point, {window, video}), there);
    return there;
}

TEST(ViewCoordinates, ScalesEachAxisToTheNearestPixel) {
    const struct {
        ViewPoint point;
        ViewSize from;
        ViewSize to;
        ViewPoint expected;
    } cases[] = {
        {{960, 540}, {1920, 1080}, {640, 480}, {320, 240}},
        {{0, 0}, {1920, 1080}, {640, 480}, {0, 0}},
        {{1919, 1079}, {1920, 1080}, {320, 240}, {320, 240}},  // 319.8 and 239.8
        {{1, 1}, {3, 3}, {1, 1}, {0, 0}},                      // a third
        {{2, 2}, {3, 3}, {1, 1}, {1, 1}},                      // two thirds
        {{1, 3}, {2, 2}, {1, 1}, {1, 2}},                      // halves go up...
        {{-1, -3}, {2, 2}, {1, 1}, {0, -1}},                   // ...left of the picture too
        {{-2, -4}, {3, 3}, {1, 1}, {-1, -1}},                  // -2/3 and -4/3
        {{kMax, kMin}, {kMax, kMax}, {kMax, kMax}, {kMax, kMin}},
        {{kMax, kMin}, {2, 2}, {1, 1}, {0x40000000, -0x40000000}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ConvertPoint(c.point, c.from, c.to), c.expected)
            << testing::PrintToString(c.point) << " from " << c.from.width << " to " << c.to.width;
    }
}

TEST(ViewCoordinates, HasNoAnswerWithoutSizesOrBeyondTheNumbers) {
    const ViewSize fine = {100, 100};
    for (const ViewSize empty : {ViewSize{0, 1}, ViewSize{1, 0}, ViewSize{-1, 1}, ViewSize{1, kMin}}) {
        EXPECT_FALSE(ConvertPoint({1, 1}, empty, fine));
        EXPECT_FALSE(ConvertPoint({1, 1}, fine, empty));
    }
    EXPECT_FALSE(ConvertPoint({kMax, 0}, {1, 1}, {2, 1}));
    EXPECT_FALSE(ConvertPoint({0, kMin}, {1, 1}, {1, 2}));
    EXPECT_FALSE(ConvertPoint({kMax, 0}, {1, 1}, {kMax, 1}));
    EXPECT_TRUE(ConvertPoint({kMin / 2, 0}, {1, 1}, {2, 1}));  // exactly the smallest number
}

TEST(ViewCoordinates, WhatOneWayGivesTheOtherTakesBack) {
    for (const Rotation rotation : {Rotation::k0, Rotation::k90, Rotation::k180, Rotation::k270}) {
        for (const PixelRect source : {PixelRect{0, 0, 1920, 1080}, PixelRect{100, 50, 580, 1010}}) {
            const ViewMapping mapping{{1920, 1080}, {480, 270}, {1920, 1080}, source, rotation};
            for (const ViewPoint clicked : {ViewPoint{0, 0}, {479, 269}, {17, 200}, {300, 3}})
                EXPECT_EQ(VideoToWindow(WindowToVideo(clicked, mapping).value(), mapping), clicked);
            const ViewBox box{{40, 30}, {100, 60}};
            const ViewBox back = VideoToWindow(WindowToVideo(box, mapping).value(), mapping).value();
            EXPECT_EQ(back.corner, box.corner);
            EXPECT_EQ(back.size.width, box.size.width);
            EXPECT_EQ(back.size.height, box.size.height);
        }
    }
}

TEST(ViewCoordinates, WritesPointsAsJson) {
    EXPECT_EQ(PointToJson({320, -240}), L"{ \"x\": 320, \"y\": -240 }");
}

}  // namespace
}  // namespace norix
