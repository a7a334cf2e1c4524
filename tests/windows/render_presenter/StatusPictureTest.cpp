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

TEST(StatusPicture, CanBeRecordedAndFitsAnyArea) {
    const RECT area{0, 0, 200, 300};
    const HDC recorder = CreateEnhMetaFileW(nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(DrawStatusPicture(recorder, area, StatusPicture::ConnectFail));
    const HENHMETAFILE recording = CloseEnhMetaFile(recorder);
    const util::UniqueMemoryDc memory(CreateCompatibleDC(nullptr));
    const util::WindowDc screen(nullptr);
    const util::UniqueBitmap bitmap(CreateCompatibleBitmap(screen.Get(), 200, 300));
    const util::SelectGuard selected(memory.Get(), bitmap.Get());
    PlayEnhMetaFile(memory.Get(), recording, &area);
    DeleteEnhMetaFile(recording);
    const Pixels seen = Pixels::Of(memory.Get(), {0, 0, 200, 300});
    EXPECT_GT(CountUnlike(seen, {0, 75, 200, 225}, kBackground), 1000);
    EXPECT_EQ(CountUnlike(seen, {5, 5, 195, 70}, kBackground), 0);

    // A monochrome bitmap has two colours only, and an empty area nothing to draw.
    const util::UniqueBitmap monochrome(CreateBitmap(64, 64, 1, 1, nullptr));
    const util::UniqueMemoryDc plain(CreateCompatibleDC(nullptr));
    const util::SelectGuard selectedToo(plain.Get(), monochrome.Get());
    EXPECT_TRUE(DrawStatusPicture(plain.Get(), {0, 0, 64, 64}, StatusPicture::Disconnect));
    EXPECT_FALSE(DrawStatusPicture(plain.Get(), {10, 10, 10, 50}, StatusPicture::Disconnect));
}

}  // namespace
}  // namespace norix
