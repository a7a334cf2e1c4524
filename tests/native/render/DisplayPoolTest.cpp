#include "render/present/DisplayPool.h"

#include <gtest/gtest.h>

namespace norix {
namespace {

TEST(DecoderSettings, ZeroesMeanWhatTheyAlwaysMeant) {
    const DecoderSettings number = ApplyZeroRules({true, false, 0, 1000, true});
    EXPECT_EQ(number.displayBufferNum, 6u);
    EXPECT_EQ(number.displayBufferSize, 1000u);
    const DecoderSettings size = ApplyZeroRules({true, false, 4, 0, true});
    EXPECT_EQ(size.displayBufferNum, 0x900000u);
    EXPECT_EQ(size.displayBufferSize, 0u);
    EXPECT_EQ(DisplayPool(size).Count(), 0u);  // nine million frames that could hold nothing
}

TEST(RegionToPicture, ScalesFromTheReferenceFrameAndStaysInThePicture) {
    RegionRecord region;
    region.x = 80;
    region.y = 60;
    region.width = 160;
    region.height = 120;
    EXPECT_EQ(RegionToPicture(region, {320, 240}, {1280, 720}), (PixelRect{320, 180, 960, 540}));
    EXPECT_EQ(RegionToPicture(region, {0, 0}, {640, 480}), (PixelRect{80, 60, 240, 180}));
    region.width = 65535;
    region.height = 65535;
    EXPECT_EQ(RegionToPicture(region, {320, 240}, {640, 480}), (PixelRect{160, 120, 640, 480}));
    region.x = 65535;
    EXPECT_TRUE(RegionToPicture(region, {1, 1}, {640, 480}).IsEmpty());
}

}  // namespace
}  // namespace norix
