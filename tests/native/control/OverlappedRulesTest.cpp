#include "control/view/OverlappedRules.h"

#include <gtest/gtest.h>

namespace norix {
namespace {

TEST(OverlappedRules, KeepsADraggedWindowInside) {
    constexpr PixelSize kParent{640, 480};
    EXPECT_EQ(KeepInside({10, 20, 110, 70}, kParent), (PixelRect{10, 20, 110, 70}));
    EXPECT_EQ(KeepInside({-10, -20, 90, 30}, kParent), (PixelRect{0, 0, 100, 50}));
    EXPECT_EQ(KeepInside({600, 470, 700, 520}, kParent), (PixelRect{540, 430, 640, 480}));
    EXPECT_EQ(KeepInside({-10, 5, 790, 500}, kParent),
              (PixelRect{0, 0, 800, 495}));  // larger than the parent
}

TEST(OverlappedRules, SizesNoSmallerThanTheLeastAtTheEdgeThatMoved) {
    PixelRect last;
    EXPECT_EQ(LimitSize({100, 100, 110, 300}, last), (PixelRect{100, 100, 132, 300}));  // by the right edge
    EXPECT_EQ(last, (PixelRect{100, 100, 132, 300}));
    EXPECT_EQ(LimitSize({125, 100, 132, 300}, last), (PixelRect{100, 100, 132, 300}));  // by the left one
    EXPECT_EQ(LimitSize({100, 295, 132, 300}, last), (PixelRect{100, 268, 132, 300}));  // by the upper one
    EXPECT_EQ(LimitSize({100, 268, 140, 269}, last), (PixelRect{100, 268, 140, 300}));  // by the lower one
    // There is one last rectangle for all windows: this one lies left of and above it.
    EXPECT_EQ(LimitSize({10, 10, 20, 20}, last), (PixelRect{10, 10, 42, 42}));
}

}  // namespace
}  // namespace norix
