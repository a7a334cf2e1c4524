#include "render/present/StatusPicture.h"

#include <gtest/gtest.h>

#include "tests/windows/render_presenter/Screen.h"
#include "util/Handles.h"

namespace norix {
namespace {

constexpr COLORREF kBackground = RGB(24, 27, 33);

int CountUnlike(const Pixels& pixels, const PixelRect& rect, COLORREF colour) {
    int count = 0;
    for (int y = rect.top; y < rect.bottom; ++y)
        for (int x = rect.left; x < rect.right; ++x)
            count += !Alike(pixels.At(x, y), colour);
    return count;
}

TEST(StatusPicture, IsCentredOnItsOwnBackground) {
    const PixelRect place{100, 100, 740, 420};  // twice as wide as high
    const TestWindow window(place, RGB(255, 0, 255));
    for (const StatusPicture kind : {StatusPicture::Disconnect, StatusPicture::ConnectFail}) {
        {
            const util::WindowDc dc(window.Handle());
            EXPECT_TRUE(DrawStatusPicture(dc.Get(), {0, 0, 640, 320}, kind));
        }
        const Pixels seen = Pixels::OfScreen(place);
        // The picture, 427 wide, lies between two bands of background.
        EXPECT_EQ(CountUnlike(seen, {0, 0, 106, 320}, kBackground), 0);
        EXPECT_EQ(CountUnlike(seen, {534, 0, 640, 320}, kBackground), 0);
        EXPECT_GT(CountUnlike(seen, {107, 0, 533, 320}, kBackground), 5000);
        // The sign in the middle tells the two apart: only a failure is red.
        int red = 0;
        for (int y = 0; y < 320; ++y)
            for (int x = 107; x < 533; ++x)
                red += Alike(seen.At(x, y), RGB(200, 69, 59));
        EXPECT_EQ(red > 500, kind == StatusPicture::ConnectFail) << red;
    }
}

}  // namespace
}  // namespace norix
