// What both presenters must show, read back from the screen.

#include "render/present/Presenter.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <tuple>

#include "render/present/Repaint.h"
#include "tests/support/ResourceUse.h"
#include "tests/windows/render_presenter/Screen.h"
#include "util/Handles.h"

namespace norix {
namespace {

using testing::IsEmpty;

constexpr COLORREF kUntouched = RGB(255, 0, 255);
constexpr PixelSize kPicture{320, 240};
constexpr PixelRect kPlace{200, 150, 600, 450};

class PresenterTest : public testing::TestWithParam<DisplayMode> {
  protected:
    PresenterTest() { Make(window.Handle()); }

    void Make(HWND videoWindow) {
        config.videoWindow = videoWindow;
        config.notifyWindow = window.Handle();
        config.view = sharedView;
        config.overlays = overlays;
        presenter = CreatePresenter(GetParam(), config);
        ASSERT_EQ(presenter->Initialize(kPicture.width, kPicture.height), S_OK);
        view.SetPictureSize(kPicture);
    }

    bool IsGdi() const { return GetParam() == DisplayMode::Gdi; }
    GridPicture MakePicture(const Grid& grid, PixelSize size = kPicture) const {
        return GridPicture(grid, size, presenter->Format());
    }
    HRESULT Show(const Grid& grid) { return presenter->Present(MakePicture(grid).Get()); }

    const Grid grid = TestGrid();
    const std::shared_ptr<PictureView> sharedView = std::make_shared<PictureView>();
    PictureView& view = *sharedView;
    std::shared_ptr<OverlayPainter> overlays;
    TestWindow window{kPlace, kUntouched};
    PresenterConfig config;
    std::unique_ptr<Presenter> presenter;
};

INSTANTIATE_TEST_SUITE_P(Modes, PresenterTest, testing::Values(DisplayMode::Gdi, DisplayMode::DirectDraw),
                         [](const auto& info) {
                             return info.param == DisplayMode::Gdi ? "Gdi" : "DirectDraw";
                         });

TEST_P(PresenterTest, FillsTheWindowAtAnySize) {
    EXPECT_EQ(Show(grid), S_OK);
    EXPECT_THAT(Differences(Pixels::OfScreen(kPlace), grid), IsEmpty());

    // Every following picture finds the window as it is then.
    for (const PixelRect& place :
         {PixelRect{100, 100, 420, 340}, PixelRect{100, 100, 260, 420}, PixelRect{300, 50, 1179, 601}}) {
        window.Move(place);
        EXPECT_EQ(Show(grid), S_OK);
        EXPECT_THAT(Differences(Pixels::OfScreen(place), grid), IsEmpty());
    }
}

TEST_P(PresenterTest, ShowsTheNewestPictureWhateverItsSize) {
    EXPECT_EQ(Show(grid), S_OK);
    const Grid other = Turned(grid, Rotation::k180);
    for (const PixelSize size :
         {PixelSize{64, 48}, PixelSize{1280, 720}, PixelSize{322, 241}, PixelSize{321, 239}}) {
        const GridPicture picture = MakePicture(other, size);
        EXPECT_EQ(presenter->Present(picture.Get()), S_OK) << size.width;
        EXPECT_THAT(Differences(Pixels::OfScreen(kPlace), other), IsEmpty()) << size.width;
    }
}

TEST_P(PresenterTest, ReadsRowsAtTheirStride) {
    const Picture narrow = MakePicture(grid).Get();
    for (const int padding : {4, 64}) {
        const GridPicture padded(grid, kPicture, presenter->Format(), narrow.stride + padding);
        EXPECT_EQ(presenter->Present(padded.Get()), S_OK);
        EXPECT_THAT(Differences(Pixels::OfScreen(kPlace), grid), IsEmpty()) << padding;
    }
}

TEST_P(PresenterTest, StaysBehindOtherWindows) {
    const COLORREF colour = RGB(10, 120, 250);
    const PixelRect overlap{400, 100, 700, 500};  // the right half of the picture, and beyond
    const TestWindow above(overlap, colour);
    const TestWindow child({20, 30, 120, 80}, colour, window.Handle());
    EXPECT_EQ(Show(grid), S_OK);

    const Pixels screen = Pixels::OfScreen({150, 80, 720, 520});
    const Pixels picture = Pixels::OfScreen(kPlace);
    EXPECT_THAT(Differences(picture, grid, {0, 90, 200, 300}), IsEmpty());
    for (int y = 100; y < 500; y += 25)
        for (int x = 400; x < 700; x += 25)
            EXPECT_EQ(screen.At(x - 150, y - 80), colour) << x << ',' << y;
    for (int y = 30; y < 80; y += 7)
        for (int x = 20; x < 120; x += 7)
            EXPECT_EQ(picture.At(x, y), colour) << x << ',' << y;
}

TEST_P(PresenterTest, ShowsInAChildWindowWithinItsParent) {
    const PixelRect place{40, 50, 440, 350};  // reaches beyond the parent by 40 columns and 50 rows
    const TestWindow child(place, kUntouched, window.Handle());
    Make(child.Handle());
    EXPECT_EQ(Show(grid), S_OK);
    const Pixels seen = Pixels::OfScreen(Offset(place, kPlace.left, kPlace.top));
    EXPECT_THAT(Differences(seen, grid, {0, 0, 360, 250}), IsEmpty());
    EXPECT_FALSE(Alike(seen.At(380, 50), grid[0][3]));
    EXPECT_FALSE(Alike(seen.At(50, 280), grid[2][0]));
    EXPECT_EQ(Pixels::OfScreen(kPlace).At(20, 20), kUntouched);
}

TEST_P(PresenterTest, ShowsWhatIsOnTheScreenOfAWindowThatIsNot) {
    const int width = GetSystemMetrics(SM_CXSCREEN);
    const int height = GetSystemMetrics(SM_CYSCREEN);
    for (const PixelRect& place :
         {PixelRect{-150, -100, 250, 200}, PixelRect{width - 170, height - 130, width + 230, height + 170}}) {
        window.Move(place);
        EXPECT_EQ(Show(grid), S_OK);
        const PixelRect visible = Intersect(place, {0, 0, width, height});
        // Reading beyond the screen gives nothing useful: compare what lies on it.
        EXPECT_THAT(Differences(Pixels::OfScreen(place), grid, Offset(visible, -place.left, -place.top)),
                    IsEmpty());
    }
    window.Move({width + 10, 0, width + 100, 100});
    Show(grid);  // seen by nobody, whether the system says so or not
}

TEST_P(PresenterTest, EnlargesTheSourceRectangle) {
    view.EnableDigitalPtz(true);
    struct {
        PixelRect source;
        Grid expected;
    } const cases[] = {{{80, 0, 240, 160}, Part(grid, 1, 0, 3, 2)},
                       {{0, 160, 320, 240}, Part(grid, 0, 2, 4, 3)},
                       {{240, 80, 320, 240}, Part(grid, 3, 1, 4, 3)},
                       {{101, 101, 120, 119}, Part(grid, 1, 1, 2, 2)},  // odd edges
                       {{320, 240, 320, 240}, Part(grid, 3, 2, 4, 3)}};
    for (const auto& [source, expected] : cases) {
        ASSERT_EQ(view.SetSourceRect(source.left, source.top, source.right, source.bottom), S_OK);
        EXPECT_EQ(Show(grid), S_OK);
        EXPECT_THAT(Differences(Pixels::OfScreen(kPlace), expected), IsEmpty()) << source.left;
    }
    view.EnableDigitalPtz(false);
    EXPECT_EQ(Show(grid), S_OK);
    EXPECT_THAT(Differences(Pixels::OfScreen(kPlace), grid), IsEmpty());
}

TEST_P(PresenterTest, SkipsAWindowThatCannotBeSeen) {
    window.Move({0, 0, 0, 0});
    EXPECT_EQ(Show(grid), S_FALSE);
    window.Move(kPlace);
    EXPECT_EQ(Show(grid), S_OK);
    EXPECT_EQ(presenter->Present(Picture{}), E_INVALIDARG);
    ShowWindow(window.Handle(), SW_HIDE);
    EXPECT_FALSE(presenter->IsSeen());
    EXPECT_EQ(Show(grid), S_FALSE);
    EXPECT_NE(Pixels::OfScreen(kPlace).At(50, 50), grid[0][0]);
    ShowWindow(window.Handle(), SW_SHOWNA);
    EXPECT_TRUE(presenter->IsSeen());

    // In its parent, and scrolled out of it to all sides.
    const TestWindow child({0, 0, 50, 50}, kUntouched, window.Handle());
    Make(child.Handle());
    EXPECT_EQ(Show(grid), S_OK);
    SetWindowPos(child.Handle(), nullptr, -60, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    EXPECT_EQ(Show(grid), S_FALSE);
    SetWindowPos(child.Handle(), nullptr, 0, 299, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    EXPECT_EQ(Show(grid), S_OK);
    ShowWindow(window.Handle(), SW_MINIMIZE);
    EXPECT_EQ(Show(grid), S_FALSE);
    ShowWindow(window.Handle(), SW_RESTORE);
    EXPECT_EQ(Show(grid), S_OK);

    auto gone = std::make_unique<TestWindow>(kPlace, kUntouched);
    Make(gone->Handle());
    gone.reset();
    EXPECT_EQ(Show(grid), S_FALSE);
}

class CrossPainter : public OverlayPainter {
  public:
    void PaintOverlays(HDC dc) override {
        const RECT bar{100, 100, 140, 180};
        SetBkColor(dc, RGB(1, 2, 3));
        ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &bar, nullptr, 0, nullptr);
        if (failing) throw std::runtime_error("overlay");
    }
    bool failing = false;
};

TEST_P(PresenterTest, PaintsOverThePicture) {
    const auto shared = std::make_shared<CrossPainter>();
    CrossPainter& painter = *shared;
    overlays = shared;
    Make(window.Handle());
    view.SetCaption(L"Gate (AV-TCP)");
    view.SetBorderShown(true);
    GridPicture picture = MakePicture(grid);
    picture.Get().regions[0] = {{160, 160, 240, 220}, true, true, 80};
    picture.Get().regions[1] = {{10, 160, 60, 220}, false, true};
    picture.Get().regions[2] = {{80, 20, 150, 80}, true};

    // A painter that fails costs its own drawing only.
    for (const bool failing : {false, true}) {
        painter.failing = failing;
        EXPECT_EQ(presenter->Present(picture.Get()), S_OK);
        const Pixels seen = Pixels::OfScreen(kPlace);
        EXPECT_EQ(seen.At(120, 140), RGB(1, 2, 3));         // the painter's bar, in window coordinates
        EXPECT_EQ(seen.At(200, 240), RGB(255, 0, 0));       // the region's left edge, scaled by 1.25
        EXPECT_EQ(seen.At(299, 240), RGB(255, 0, 0));       // and its right one
        EXPECT_TRUE(Alike(seen.At(250, 240), grid[2][2]));  // not filled
        EXPECT_EQ(seen.At(100, 90), RGB(64, 200, 96));      // a region where nothing moves
        EXPECT_TRUE(Alike(seen.At(12, 240), grid[2][0]));   // the region that is not drawn
        EXPECT_EQ(seen.At(390, 9), RGB(24, 27, 33));        // the caption's band
        EXPECT_EQ(seen.At(0, 299), seen.At(399, 150));      // the border, all around
        EXPECT_EQ(seen.At(0, 0), seen.At(399, 299));
        EXPECT_TRUE(Alike(seen.At(1, 298), grid[2][0]));  // one pixel wide
        int letters = 0;
        for (int x = 6; x < 100; ++x)
            for (int y = 2; y < 16; ++y)
                letters += GetGValue(seen.At(x, y)) > 200;
        EXPECT_GT(letters, 40);
    }

    view.SetCaptionShown(false);
    view.SetBorderShown(false);
    EXPECT_EQ(presenter->Present(picture.Get()), S_OK);
    const Pixels seen = Pixels::OfScreen(kPlace);
    EXPECT_TRUE(Alike(seen.At(0, 0), grid[0][0]));
    EXPECT_TRUE(Alike(seen.At(390, 9), grid[0][3]));
}

// The picture that was shown last, for printers too, in the view as it is when it is asked for.
TEST_P(PresenterTest, GivesTheLastPictureToAnyDevice) {
    const PixelRect target{0, 0, 200, 150};
    const RECT rect{0, 0, 200, 150};
    const util::UniqueMemoryDc memory(CreateCompatibleDC(nullptr));
    const util::WindowDc screen(nullptr);
    const util::UniqueBitmap bitmap(CreateCompatibleBitmap(screen.Get(), 200, 150));
    const util::SelectGuard selected(memory.Get(), bitmap.Get());
    const auto painter = std::make_shared<CrossPainter>();
    KeptPicture kept;
    const auto draw = [&](HDC dc) {
        return DrawKept(kept, view, painter.get(), window.Handle(), true, dc, rect);
    };
    EXPECT_FALSE(draw(memory.Get()));

    const GridPicture picture = MakePicture(grid);
    DisplayFrame frame;
    frame.size = kPicture;
    frame.format = presenter->Format();
    frame.picture = PictureBuffer(PictureSizeBytes(frame.format, kPicture));
    std::copy_n(picture.Get().data, frame.picture.Capacity(), frame.picture.Data());
    frame.regions[1] = {160, 160, 240, 220};
    frame.alarms[1] = true;
    const auto stays = frame.picture.Data();
    kept.Keep(frame, {false, true, false});
    EXPECT_EQ(frame.picture.Data(), nullptr);
    for (int times = 0; times < 2; ++times) {
        EXPECT_TRUE(draw(memory.Get()));
        const Pixels seen = Pixels::Of(memory.Get(), target);
        EXPECT_TRUE(Alike(seen.At(25, 25), grid[0][0]));
        EXPECT_TRUE(Alike(seen.At(190, 140), grid[2][3]));
        EXPECT_EQ(seen.At(60, 70), RGB(1, 2, 3));      // objects
        EXPECT_EQ(seen.At(149, 120), RGB(255, 0, 0));  // the region's right edge
    }
    DisplayFrame later;
    later.size = kPicture;
    later.format = frame.format;
    kept.Keep(later, {});
    EXPECT_EQ(later.picture.Data(), stays) << "the buffer goes round";
    EXPECT_FALSE(draw(memory.Get())) << "a frame without a picture";
    kept.Keep(later, {});

    // Only the part that is shown, without another picture. A metafile records what a printer would get.
    view.EnableDigitalPtz(true);
    ASSERT_EQ(view.SetSourceRect(80, 0, 240, 160), S_OK);
    const HDC recorder = CreateEnhMetaFileW(nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(draw(recorder));
    const HENHMETAFILE recording = CloseEnhMetaFile(recorder);
    PlayEnhMetaFile(memory.Get(), recording, &rect);
    DeleteEnhMetaFile(recording);
    EXPECT_THAT(
        Differences(Pixels::Of(memory.Get(), {20, 20, 180, 130}), Part(grid, 1, 0, 3, 2), {0, 0, 60, 40}),
        IsEmpty());
}

TEST_P(PresenterTest, LeaksNoGdiObjects) {
    overlays = std::make_shared<CrossPainter>();
    const auto run = [&](int times) {
        for (int i = 0; i < times; ++i) {
            Make(window.Handle());
            view.SetCaption(L"caption");
            view.SetRotation(static_cast<Rotation>(i % 4 * 90));
            for (int step = 0; step < 4; ++step) {
                window.Move({100, 100, 200 + 10 * step, 200});
                EXPECT_EQ(Show(grid), S_OK);
                if (step == 2) presenter->DisplayChanged(), Show(grid), Show(grid);
            }
        }
        presenter.reset();
        PumpMessages();
    };
    run(2);
    const auto before = ResourceUse::Now();
    run(20);
    EXPECT_LE(ResourceUse::Now().gdiSlots, before.gdiSlots + 4);
}

class GdiPresenterTest : public PresenterTest {};
INSTANTIATE_TEST_SUITE_P(Modes, GdiPresenterTest, testing::Values(DisplayMode::Gdi),
                         [](const auto&) { return "Gdi"; });

TEST_P(GdiPresenterTest, TurnsThePicture) {
    for (const Rotation rotation : {Rotation::k90, Rotation::k180, Rotation::k270, Rotation::k0}) {
        view.SetRotation(rotation);
        // Rows that end inside a word.
        EXPECT_EQ(presenter->Present(MakePicture(grid, {321, 37}).Get()), S_OK);
        EXPECT_THAT(Differences(Pixels::OfScreen(kPlace), Turned(grid, rotation)), IsEmpty());
        EXPECT_EQ(Show(grid), S_OK);
        EXPECT_THAT(Differences(Pixels::OfScreen(kPlace), Turned(grid, rotation)), IsEmpty())
            << static_cast<int>(rotation);
    }
    // The part is chosen in the picture as it comes from the camera, and then turned.
    view.EnableDigitalPtz(true);
    ASSERT_EQ(view.SetSourceRect(80, 0, 320, 160), S_OK);
    view.SetRotation(Rotation::k90);
    GridPicture picture = MakePicture(grid);
    EXPECT_EQ(presenter->Present(picture.Get()), S_OK);
    EXPECT_THAT(Differences(Pixels::OfScreen(kPlace), Turned(Part(grid, 1, 0, 4, 2), Rotation::k90)),
                IsEmpty());
    picture.Get().regions[2] = {{80, 80, 160, 160}, true, true};  // lower left of it: upper left when turned
    EXPECT_EQ(presenter->Present(picture.Get()), S_OK);
    const Pixels seen = Pixels::OfScreen(kPlace);
    EXPECT_EQ(seen.At(0, 50), RGB(255, 0, 0));
    EXPECT_EQ(seen.At(199, 50), RGB(255, 0, 0));
    EXPECT_FALSE(Alike(seen.At(300, 50), RGB(255, 0, 0)));
}

}  // namespace
}  // namespace norix
