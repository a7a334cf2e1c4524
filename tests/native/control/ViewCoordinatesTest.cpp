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

TEST(ViewCoordinates, WritesPointsAsJson) {
    EXPECT_EQ(PointToJson({320, -240}), L"{ \"x\": 320, \"y\": -240 }");
}

}  // namespace
}  // namespace norix
