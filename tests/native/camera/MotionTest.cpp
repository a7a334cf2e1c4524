// Motion windows between the camera's frame of reference and the video.

#include "camera/motion/MotionRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace norix {
namespace {

TEST(MotionRules, NamesAreOfAFewCharacters) {
    for (const char* const good : {"", "Gate 1", "azAZ09!^*()_{}[]|:./?- "})
        EXPECT_TRUE(IsMotionName(good)) << good;
    for (const char* const bad :
         {"a,b", "a&b", "a=b", "\"", "#", "+", "~", "\\", "a\tb", "a\r", "T\xc3\xbcr"})
        EXPECT_FALSE(IsMotionName(bad)) << bad;
}

TEST(MotionRules, WhatIsNotMovedGoesBackAsItCame) {
    // Every place of a fine frame of reference on a coarse video, and of a coarse one on a fine.
    for (const auto& [reference, video] :
         {std::pair{1000, 640}, {352, 1920}, {1280, 1280}, {0, 640}, {-5, 640}}) {
        for (std::int32_t at = 0; at < 300; ++at) {
            MotionSettings settings;
            settings.referenceWidth = settings.referenceHeight = reference;
            settings.windows[1] = {"", 1, at, 2 * at, 200 + at, 600 - at, 7};
            const MotionWindow before = settings.windows[1];
            MotionAreas areas;
            areas[1] = {"", MotionToVideo(settings, before, video, video)};
            ASSERT_EQ(TakeMotionAreas(settings, areas, video, video), MotionSaving::Saved);
            const MotionWindow& after = settings.windows[1];
            ASSERT_EQ(std::tie(after.left, after.top, after.width, after.height, after.objectSize),
                      std::tie(before.left, before.top, before.width, before.height, before.objectSize));
        }
    }
}

// Places and sizes are rounded one by one, and yet nothing leaves the camera's frame of reference.
TEST(MotionRules, WhatIsMovedStaysInTheFrame) {
    for (const auto& [reference, video] : {std::pair{320, 1920}, {1920, 640}, {1000, 352}, {0, 640}}) {
        const std::int32_t end = reference > 0 ? reference : video;
        for (std::int32_t at = 0; at < 200; ++at) {
            MotionSettings settings;
            settings.referenceWidth = settings.referenceHeight = reference;
            settings.windows[0] = {"", 1, at % 100, at % 100, end / 2, end / 2, 7};
            const VideoBox shown = MotionToVideo(settings, settings.windows[0], video, video);
            MotionAreas areas;  // the right edge is drawn to the border; all is moved down to it
            areas[0] = {"", {shown.left, video - shown.height, video - shown.left, shown.height}};
            const MotionWindow before = settings.windows[0];
            ASSERT_EQ(TakeMotionAreas(settings, areas, video, video), MotionSaving::Saved);
            const MotionWindow& after = settings.windows[0];
            ASSERT_EQ(after.left, before.left);
            ASSERT_EQ(after.left + after.width, end);
            ASSERT_EQ(after.height, before.height);
            ASSERT_LE(after.top + after.height, end);
            ASSERT_GE(after.top + after.height, end - 1 - end / video);
        }
    }
}

TEST(MotionRules, SavesWhatTheUserHasLeft) {
    const VideoBox good{10, 20, 32, 32};
    struct Case {
        std::optional<MotionArea> areas[3];
        MotionSaving result;
    };
    const Case cases[] = {
        {{MotionArea{"a", good}, {}, MotionArea{"c", good}}, MotionSaving::Saved},
        {{{}, {}, {}}, MotionSaving::Saved},
        {{{}, MotionArea{"b", {0, 0, 31, 32}}, {}}, MotionSaving::TooSmall},
        {{{}, MotionArea{"b", {0, 0, 32, 31}}, MotionArea{",", good}}, MotionSaving::TooSmall},
        {{MotionArea{"<", {0, 0, 1, 1}}, {}, {}}, MotionSaving::BadName},
    };
    for (const Case& c : cases) {
        MotionSettings settings;
        settings.referenceWidth = 1280;
        settings.referenceHeight = 720;
        for (MotionWindow& window : settings.windows)
            window = {"before", 1, 1, 1, 1, 1, 5};
        MotionAreas areas;
        std::copy(std::begin(c.areas), std::end(c.areas), areas.begin());
        EXPECT_EQ(TakeMotionAreas(settings, areas, 640, 360), c.result);
        for (std::size_t i = 0; i < areas.size(); ++i) {
            const MotionWindow& window = settings.windows[i];
            const bool saved = c.result == MotionSaving::Saved;
            EXPECT_EQ(window.enable, !saved || areas[i] ? 1 : 0);
            EXPECT_EQ(window.name, saved && areas[i] ? areas[i]->name : "before");
            EXPECT_EQ(window.left, saved && areas[i] ? 20 : 1);
            EXPECT_EQ(window.height, saved && areas[i] ? 64 : 1);
        }
    }
}

}  // namespace
}  // namespace norix
