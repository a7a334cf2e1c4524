#include "render/present/PictureView.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "tests/support/LogCapture.h"

namespace norix {
namespace {

constexpr std::int32_t kOk = 0;
constexpr std::int32_t kInvalidArgument = static_cast<std::int32_t>(0x80070057u);
constexpr PixelSize kPicture{640, 480};

class PictureViewTest : public testing::Test {
  protected:
    PictureViewTest() { view.SetPictureSize(kPicture); }
    PixelRect Source() { return view.Current(kPicture).source; }

    PictureView view;
};

TEST_F(PictureViewTest, SourceRectangleIsCheckedAgainstThePicture) {
    view.EnableDigitalPtz(true);
    ASSERT_EQ(view.SetSourceRect(8, 16, 328, 256), kOk);
    const PixelRect kept{8, 16, 328, 256};
    struct {
        int left, top, right, bottom;
    } const refused[] = {{0, 0, 0, 0},       {-1, 0, 100, 100}, {0, -1, 100, 100},
                         {0, 0, 641, 480},   {0, 0, 640, 481},  {101, 0, 100, 100},
                         {0, 101, 100, 100}, {-5, -5, -1, -1},  {0, 0, 2147483647, 2147483647}};
    for (const auto& r : refused) {
        EXPECT_EQ(view.SetSourceRect(r.left, r.top, r.right, r.bottom), kInvalidArgument)
            << r.left << ' ' << r.top << ' ' << r.right << ' ' << r.bottom;
        EXPECT_EQ(Source(), kept);
    }
    EXPECT_EQ(view.SetSourceRect(0, 0, kPicture.width, kPicture.height), kOk);
    EXPECT_EQ(Source(), Whole(kPicture));
    EXPECT_EQ(view.SetSourceRect(640, 480, 640, 480), kOk);  // a point is accepted, and can be shown
    EXPECT_EQ(Source(), (PixelRect{639, 479, 640, 480}));
}

TEST_F(PictureViewTest, NothingIsAcceptedBeforeThereIsAPicture) {
    PictureView fresh;
    EXPECT_EQ(fresh.SetSourceRect(0, 0, 1, 1), kInvalidArgument);
}

TEST_F(PictureViewTest, DigitalPtzStartsFromTheWholePicture) {
    PictureView fresh;
    fresh.EnableDigitalPtz(true);  // before the first picture
    EXPECT_EQ(fresh.Current(kPicture).source, Whole(kPicture));

    ASSERT_EQ(view.SetSourceRect(8, 16, 328, 256), kOk);
    EXPECT_EQ(Source(), Whole(kPicture));  // not switched on
    view.EnableDigitalPtz(true);
    EXPECT_EQ(Source(), Whole(kPicture));  // the picture shown meanwhile has reset it
    ASSERT_EQ(view.SetSourceRect(8, 16, 328, 256), kOk);
    EXPECT_EQ(Source(), (PixelRect{8, 16, 328, 256}));
    view.EnableDigitalPtz(false);
    view.EnableDigitalPtz(true);
    EXPECT_EQ(Source(), Whole(kPicture));
}

TEST_F(PictureViewTest, SourceKeepsItsShareWhenThePictureShrinks) {
    view.EnableDigitalPtz(true);
    ASSERT_EQ(view.SetSourceRect(100, 100, 640, 480), kOk);
    EXPECT_EQ(view.Current({320, 240}).source, (PixelRect{50, 50, 320, 240}));
    EXPECT_EQ(view.Current({64, 48}).source, (PixelRect{10, 10, 64, 48}));
}

TEST_F(PictureViewTest, CaptionIsShownOnlyWhenThereIsOneAndItIsWanted) {
    EXPECT_EQ(view.Current(kPicture).caption, nullptr);
    view.SetCaption(L"Gate (AV-TCP)");
    ASSERT_NE(view.Current(kPicture).caption, nullptr);
    EXPECT_EQ(*view.Current(kPicture).caption, L"Gate (AV-TCP)");
    view.SetCaptionShown(false);
    EXPECT_EQ(view.Current(kPicture).caption, nullptr);
    view.SetCaptionShown(true);
    view.SetCaption(L"");
    EXPECT_EQ(view.Current(kPicture).caption, nullptr);
}

// A picture never gets a mixture of two settings.
TEST_F(PictureViewTest, SettingsChangeAsAWhole) {
    view.EnableDigitalPtz(true);
    view.EnableDigitalPtz(true);
    std::atomic<bool> stop{false};
    std::thread setter([&] {
        for (int i = 0; !stop; i = (i + 1) % 100) {
            view.SetSourceRect(i, i, i + 200, i + 200);
            view.SetCaption(std::wstring(static_cast<std::size_t>(i % 40), L'x'));
        }
    });
    int mixed = 0;
    for (int i = 0; i < 20000; ++i) {
        const PictureView::Settings settings = view.Current(kPicture);
        const PixelRect& s = settings.source;
        const bool whole = s == Whole(kPicture);
        if (!whole && (s.left != s.top || s.Width() != 200 || s.Height() != 200)) ++mixed;
    }
    stop = true;
    setter.join();
    EXPECT_EQ(mixed, 0);
}

}  // namespace
}  // namespace norix
