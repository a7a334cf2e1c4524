#include "control/view/DigitalPtz.h"

#include <gtest/gtest.h>

#include "render/present/PictureView.h"

namespace norix {
namespace {

constexpr PixelSize kPicture{1920, 1080};
constexpr PixelRect kWhole{0, 0, 1920, 1080};
constexpr Rotation kAll[] = {Rotation::k0, Rotation::k90, Rotation::k180, Rotation::k270};

// Where in the window a place of the picture is shown.
WindowShare ShareOf(double x, double y, const PixelRect& source, Rotation rotation) {
    const double across = (x - source.left) / source.Width();
    const double down = (y - source.top) / source.Height();
    switch (rotation) {
        case Rotation::k90:
            return {1 - down, across};
        case Rotation::k180:
            return {1 - across, 1 - down};
        case Rotation::k270:
            return {down, 1 - across};
        case Rotation::k0:
            break;
    }
    return {across, down};
}

TEST(DigitalPtz, ZoomsAboutThePointerWhateverTheRotation) {
    for (const Rotation rotation : kAll) {
        PixelRect source = kWhole;
        const WindowShare pointer = ShareOf(500, 700, source, rotation);
        for (int step = 0; step < 8; ++step) {
            source = ZoomAbout(source, kPicture, rotation, pointer, 1.25);
            const WindowShare now = ShareOf(500, 700, source, rotation);
            EXPECT_NEAR(now.x, pointer.x, 0.01);
            EXPECT_NEAR(now.y, pointer.y, 0.01);
        }
        EXPECT_NEAR(source.Width(), 1920 / 5.96, 3);
    }
}

TEST(DigitalPtz, StaysInsideAndWithinItsLimits) {
    PixelRect source = ZoomAbout(kWhole, kPicture, Rotation::k0, {0, 1}, 1000);
    EXPECT_EQ(source, (PixelRect{0, 1080 - 68, 120, 1080}));  // a sixteenth, 67.5 rounded up
    EXPECT_EQ(ZoomAbout(source, kPicture, Rotation::k0, {1, 0}, 0.001), kWhole);
    EXPECT_EQ(Pan(source, kPicture, Rotation::k0, {5, -5}), (PixelRect{0, 1080 - 68, 120, 1080}));
    EXPECT_EQ(Pan(source, kPicture, Rotation::k0, {-500, 500}), (PixelRect{1800, 0, 1920, 68}));
    EXPECT_EQ(ZoomAbout({0, 0, 1, 1}, {1, 1}, Rotation::k90, {0.5, 0.5}, 2), (PixelRect{0, 0, 1, 1}));
}

TEST(DigitalPtz, ThePictureFollowsTheHand) {
    constexpr PixelRect source{480, 270, 1440, 810};
    for (const Rotation rotation : kAll) {
        const WindowShare before = ShareOf(960, 540, source, rotation);
        const PixelRect moved = Pan(source, kPicture, rotation, {0.1, -0.2});
        const WindowShare after = ShareOf(960, 540, moved, rotation);
        EXPECT_NEAR(after.x - before.x, 0.1, 0.002) << static_cast<int>(rotation);
        EXPECT_NEAR(after.y - before.y, -0.2, 0.002) << static_cast<int>(rotation);
        EXPECT_EQ(moved.Width(), source.Width());
    }
}

TEST(DigitalPtz, ShowsTheSamePartOfAPictureOfAnotherSize) {
    PictureView view;
    view.SetPictureSize(kPicture);
    view.EnableDigitalPtz(true);
    ASSERT_EQ(view.SetSourceRect(480, 270, 960, 540), 0);
    view.SetPictureSize({640, 360});
    EXPECT_EQ(view.CurrentLayout().source, (PixelRect{160, 90, 320, 180}));
    EXPECT_EQ(view.Current(kPicture).source, (PixelRect{480, 270, 960, 540}));
    view.EnableDigitalPtz(false);
    EXPECT_EQ(view.CurrentLayout().source, kWhole);
}

}  // namespace
}  // namespace norix
