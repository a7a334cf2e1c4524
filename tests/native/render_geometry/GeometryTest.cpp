#include "render/present/Geometry.h"

#include <gmock/gmock.h>

#include <ostream>
#include <random>

namespace norix {

std::ostream& operator<<(std::ostream& out, const PixelRect& rect) {
    return out << '(' << rect.left << ',' << rect.top << ")-(" << rect.right << ',' << rect.bottom << ')';
}

namespace {

TEST(Rotation, TakesWholeQuarterTurnsOnly) {
    struct {
        int degrees;
        Rotation expected;
    } const accepted[] = {{0, Rotation::k0},
                          {90, Rotation::k90},
                          {-90, Rotation::k270},
                          {180, Rotation::k180},
                          {-180, Rotation::k180},
                          {270, Rotation::k270},
                          {360, Rotation::k0},
                          {450, Rotation::k90},
                          {-360, Rotation::k0},
                          {-450, Rotation::k270},
                          {2147483640 / 360 * 360, Rotation::k0},
                          {-2147483640 / 360 * 360, Rotation::k0}};
    for (const auto& [degrees, expected] : accepted) {
        Rotation rotation = Rotation::k180;
        EXPECT_TRUE(RotationFromDegrees(degrees, rotation)) << degrees;
        EXPECT_EQ(rotation, expected) << degrees;
    }
    for (const int degrees : {1, 45, -45, 89, 91, 2147483647, -2147483647 - 1}) {
        Rotation rotation = Rotation::k180;
        EXPECT_FALSE(RotationFromDegrees(degrees, rotation)) << degrees;
        EXPECT_EQ(rotation, Rotation::k180) << degrees;
    }
}

TEST(RotateRect, TurnsClockwise) {
    const PixelSize picture{100, 40};
    const PixelRect topLeftCorner{0, 0, 10, 4};
    EXPECT_EQ(RotateRect(topLeftCorner, picture, Rotation::k90), (PixelRect{36, 0, 40, 10}));
    EXPECT_EQ(RotateRect(topLeftCorner, picture, Rotation::k180), (PixelRect{90, 36, 100, 40}));
    EXPECT_EQ(RotateRect(topLeftCorner, picture, Rotation::k270), (PixelRect{0, 90, 4, 100}));

    // Turning and turning back is the identity, for any rectangle.
    const PixelRect any{7, 3, 55, 21};
    for (const auto& [there, back] :
         {std::pair{Rotation::k90, Rotation::k270}, std::pair{Rotation::k180, Rotation::k180},
          std::pair{Rotation::k270, Rotation::k90}})
        EXPECT_EQ(RotateRect(RotateRect(any, picture, there), RotatedSize(picture, there), back), any);
}

TEST(UsableSource, StaysInsideThePictureAndIsNeverEmpty) {
    const PixelSize picture{640, 480};
    struct {
        PixelRect asked, used;
    } const cases[] = {
        {{0, 0, 640, 480}, {0, 0, 640, 480}},
        {{100, 50, 300, 200}, {100, 50, 300, 200}},
        {{10, 10, 10, 10}, {10, 10, 11, 11}},          // a point
        {{640, 480, 640, 480}, {639, 479, 640, 480}},  // the far corner's point
        {{600, 400, 700, 500}, {600, 400, 640, 480}},  // the picture has become smaller
        {{700, 500, 800, 600}, {0, 0, 640, 480}},      // or the rectangle misses it
        {{-20, -20, 5, 5}, {0, 0, 5, 5}},
    };
    for (const auto& [asked, used] : cases)
        EXPECT_EQ(UsableSource(asked, picture), used) << asked;
    EXPECT_TRUE(UsableSource({0, 0, 5, 5}, {0, 0}).IsEmpty());
}

TEST(ClipStretch, CutsTheSourceAsItCutsTheTarget) {
    const PixelRect screen{0, 0, 1000, 800};
    struct {
        const char* what;
        Stretch asked, clipped;
    } const cases[] = {
        {"inside", {{0, 0, 640, 480}, {10, 10, 330, 250}}, {{0, 0, 640, 480}, {10, 10, 330, 250}}},
        {"half out at the left, reduced by 2",
         {{0, 0, 640, 480}, {-160, 0, 160, 240}},
         {{320, 0, 640, 480}, {0, 0, 160, 240}}},
        {"out at right and bottom, enlarged by 2",
         {{100, 100, 300, 200}, {800, 700, 1200, 900}},
         {{100, 100, 200, 150}, {800, 700, 1000, 800}}},
        {"one target pixel left of a strong reduction",
         {{0, 0, 1920, 1080}, {999, 0, 1095, 54}},
         {{0, 0, 20, 1080}, {999, 0, 1000, 54}}},
        {"one target pixel left of a strong enlargement",
         {{5, 5, 7, 7}, {-199, 0, 1, 200}},
         {{6, 5, 7, 7}, {0, 0, 1, 200}}},
        {"beside the screen", {{0, 0, 640, 480}, {1000, 0, 1100, 100}}, {}},
        {"no target", {{0, 0, 640, 480}, {5, 5, 5, 50}}, {}},
    };
    for (const auto& [what, asked, clipped] : cases) {
        const Stretch got = ClipStretch(asked, screen);
        EXPECT_EQ(got.source, clipped.source) << what;
        EXPECT_EQ(got.target, clipped.target) << what;
    }
}

TEST(ClipStretch, NeverLeavesSourceOrScreen) {
    std::mt19937 random(4711);
    const auto upTo = [&random](int most) { return std::uniform_int_distribution<int>(1, most)(random); };
    const PixelRect screen{0, 0, 1920, 1080};
    int visible = 0;
    for (int i = 0; i < 20000; ++i) {
        const PixelRect source = Offset({0, 0, upTo(4000), upTo(3000)}, upTo(100), upTo(100));
        const PixelRect target =
            Offset({0, 0, upTo(i % 2 ? 30000 : 20), upTo(3000)}, upTo(4000) - 2000, upTo(3000) - 1500);
        const Stretch clipped = ClipStretch({source, target}, screen);
        if (clipped.IsEmpty()) {
            ASSERT_TRUE(Intersect(target, screen).IsEmpty()) << source << target;
            continue;
        }
        ++visible;
        ASSERT_EQ(Intersect(clipped.source, source), clipped.source) << source << target;
        ASSERT_EQ(clipped.target, Intersect(target, screen)) << source << target;
    }
    EXPECT_GT(visible, 5000);
}

TEST(WholePairs, WidensWithinThePicture) {
    EXPECT_EQ(WholePairs({101, 7, 120, 9}, {320, 240}), (PixelRect{100, 7, 120, 9}));
    EXPECT_EQ(WholePairs({319, 0, 320, 1}, {320, 240}), (PixelRect{318, 0, 320, 1}));
    EXPECT_EQ(WholePairs({0, 0, 1, 1}, {320, 240}), (PixelRect{0, 0, 2, 1}));
    EXPECT_EQ(WholePairs({318, 0, 319, 1}, {319, 240}), (PixelRect{318, 0, 319, 1}));
}

TEST(FitKeepingAspect, CentresTheLargestFit) {
    const PixelSize picture{320, 240};
    EXPECT_EQ(FitKeepingAspect(picture, {0, 0, 640, 480}), (PixelRect{0, 0, 640, 480}));
    EXPECT_EQ(FitKeepingAspect(picture, {10, 20, 810, 320}), (PixelRect{210, 20, 610, 320}));  // wide
    EXPECT_EQ(FitKeepingAspect(picture, {0, 0, 320, 1000}), (PixelRect{0, 380, 320, 620}));    // high
    EXPECT_EQ(FitKeepingAspect({4000, 1}, {0, 0, 10, 10}), (PixelRect{0, 4, 10, 5}));
    EXPECT_TRUE(FitKeepingAspect(picture, {0, 0, 0, 100}).IsEmpty());
}

TEST(PictureToWindow, FollowsSourceAndRotation) {
    const PixelSize picture{640, 480};
    const PixelSize window{320, 240};
    const PixelRect whole = Whole(picture);
    const PixelRect region{64, 48, 128, 96};
    EXPECT_EQ(PictureToWindow(region, whole, picture, Rotation::k0, window), (PixelRect{32, 24, 64, 48}));
    // The upper left quarter enlarged: distances double.
    EXPECT_EQ(PictureToWindow(region, {0, 0, 320, 240}, picture, Rotation::k0, window), region);
    // Outside the part shown: outside the window.
    EXPECT_EQ(PictureToWindow(region, {320, 240, 640, 480}, picture, Rotation::k0, window),
              (PixelRect{-256, -192, -192, -144}));
    // Clockwise: what was near the upper left is near the upper right, width and height exchanged.
    EXPECT_EQ(PictureToWindow(region, whole, picture, Rotation::k90, {240, 320}),
              (PixelRect{192, 32, 216, 64}));
    EXPECT_EQ(PictureToWindow(region, whole, picture, Rotation::k180, window),
              (PixelRect{256, 192, 288, 216}));
    // Any rotation: the part shown fills the window exactly.
    const PixelRect part{100, 40, 420, 280};
    for (const Rotation rotation : {Rotation::k0, Rotation::k90, Rotation::k180, Rotation::k270})
        EXPECT_EQ(PictureToWindow(part, part, picture, rotation, window), Whole(window));
}

}  // namespace
}  // namespace norix
