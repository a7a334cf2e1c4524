// What the host draws, read back from the screen.

#include "render/overlay/GraphicObjects.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "render/overlay/CanvasScale.h"
#include "render/overlay/OverlayLayer.h"
#include "tests/support/ResourceUse.h"
#include "tests/windows/render_presenter/Screen.h"

namespace norix {
namespace {

constexpr COLORREF kPaper = RGB(255, 255, 255);
constexpr COLORREF kInk = RGB(200, 0, 0);
constexpr COLORREF kPaint = RGB(0, 0, 200);
constexpr PixelSize kPicture{320, 240};
constexpr PixelRect kPlace{200, 150, 600, 450};
constexpr PixelRect kLarge{100, 100, 900, 700};  // twice the size

struct View {
    DisplayMode mode;
    Rotation rotation = Rotation::k0;
    PixelRect source{0, 0, 320, 240};
};

class GraphicObjectsTest : public testing::TestWithParam<View> {
  protected:
    GraphicObjectsTest() {
        config.videoWindow = config.notifyWindow = window.Handle();
        config.view = std::make_shared<PictureView>();
        config.overlays = objects;
        config.view->SetRotation(GetParam().rotation);
        config.view->EnableDigitalPtz(true);
        config.view->SetPictureSize(kPicture);
        const PixelRect& source = GetParam().source;
        config.view->SetSourceRect(source.left, source.top, source.right, source.bottom);
        presenter = CreatePresenter(GetParam().mode, config);
        presenter->Initialize(kPicture.width, kPicture.height);
        pen = objects->CreatePen(PS_SOLID, 5, kInk);
        brush = objects->CreateBrush(kPaint);
    }
    void Show() {
        const GridPicture paper({{kPaper}}, kPicture, presenter->Format());
        ASSERT_EQ(presenter->Present(paper.Get()), S_OK);
    }
    // Objects that stay are not painted for ever.
    void ShowLonger() {
        for (int pictures = 0; pictures < 6; ++pictures)
            Show();
    }
    void Stretch(const PixelRect& from, const PixelRect& to) {
        window.Move(to);
        objects->Resize({from.Width(), from.Height()}, {to.Width(), to.Height()});
    }
    // Compares points of the window; the expectation is in the coordinates of the window before any change.
    void Expect(const char* what, const std::function<COLORREF(int, int)>& expected) {
        for (const int scale : {1, 2}) {
            const PixelRect place = scale == 1 ? kPlace : kLarge;
            if (scale == 2) Stretch(kPlace, kLarge);
            for (const bool longer : {false, true}) {
                longer ? ShowLonger() : Show();
                const Pixels seen = Pixels::OfScreen(place);
                for (int y = 5; y < 300; y += 10)
                    for (int x = 5; x < 400; x += 10) {
                        const COLORREF is = seen.At(x * scale, y * scale);
                        EXPECT_TRUE(Alike(is, expected(x, y)))
                            << what << " at " << x << ',' << y << " x " << scale << " is " << std::hex << is;
                    }
            }
        }
        Stretch(kLarge, kPlace);
        objects->RemoveAll();
    }

    TestWindow window{kPlace, RGB(255, 0, 255)};
    const std::shared_ptr<GraphicObjects> objects = std::make_shared<GraphicObjects>();
    PresenterConfig config;
    std::unique_ptr<Presenter> presenter;
    long pen = 0;
    long brush = 0;
};

std::string Name(const testing::TestParamInfo<View>& info) {
    return std::string(info.param.mode == DisplayMode::Gdi ? "Gdi" : "DirectDraw") +
           std::to_string(static_cast<int>(info.param.rotation)) +
           (info.param.source.Width() == kPicture.width ? ""
                                                        : "Zoomed" + std::to_string(info.param.source.left));
}

constexpr PixelRect kHalf{80, 60, 240, 180};
constexpr PixelRect kSixteenth{10, 20, 30, 35};
INSTANTIATE_TEST_SUITE_P(
    Views, GraphicObjectsTest,
    testing::Values(View{DisplayMode::DirectDraw}, View{DisplayMode::DirectDraw, Rotation::k0, kHalf},
                    View{DisplayMode::DirectDraw, Rotation::k0, kSixteenth}, View{DisplayMode::Gdi},
                    View{DisplayMode::Gdi, Rotation::k90}, View{DisplayMode::Gdi, Rotation::k180},
                    View{DisplayMode::Gdi, Rotation::k270}, View{DisplayMode::Gdi, Rotation::k90, kHalf},
                    View{DisplayMode::Gdi, Rotation::k180, kSixteenth}),
    Name);

// Within `reach` of the line between two values, with two pixels for what is neither inside nor outside.
bool Near(int value, int edge) {
    return value >= edge - 2 && value <= edge + 2;
}

TEST_P(GraphicObjectsTest, ShowsLinesAndFrames) {
    objects->DrawLine({0, 105}, {400, 105}, pen);
    Expect("line", [](int, int y) { return Near(y, 105) ? kInk : kPaper; });

    pen = objects->CreatePen(PS_SOLID, 5, kInk);
    objects->DrawRectangle({55, 45, 205, 155}, pen, 12345);  // no such brush
    Expect("frame", [](int x, int y) {
        const bool within = x >= 53 && x <= 207 && y >= 43 && y <= 157;
        return within && (Near(x, 55) || Near(x, 205) || Near(y, 45) || Near(y, 155)) ? kInk : kPaper;
    });
}

TEST_P(GraphicObjectsTest, FillsWithABrushOnly) {
    objects->DrawRectangle({50, 40, 210, 160}, pen, brush);
    Expect("rectangle", [](int x, int y) {
        if (x < 47 || x > 213 || y < 37 || y > 163) return kPaper;
        return x > 53 && x < 207 && y > 43 && y < 157 ? kPaint : kInk;
    });

    // Points of an ellipse well inside and well outside; on its outline only at the ends of the axes.
    for (const bool filled : {true, false}) {
        pen = objects->CreatePen(PS_SOLID, 5, kInk);
        brush = objects->CreateBrush(kPaint);
        objects->DrawEllipse({55, 45, 255, 145}, pen, filled ? brush : 0);
        Show();
        const Pixels seen = Pixels::OfScreen(kPlace);
        for (const auto& [x, y] : {std::pair(155, 95), {100, 95}, {200, 110}})
            EXPECT_TRUE(Alike(seen.At(x, y), filled ? kPaint : kPaper)) << x << ',' << y << filled;
        for (const auto& [x, y] : {std::pair(56, 46), {253, 143}, {155, 30}})
            EXPECT_TRUE(Alike(seen.At(x, y), kPaper)) << x << ',' << y << filled;
        for (const auto& [x, y] : {std::pair(55, 95), {254, 95}, {155, 45}, {155, 144}})
            EXPECT_TRUE(Alike(seen.At(x, y), kInk)) << x << ',' << y << filled;
        objects->RemoveAll();
    }
}

TEST_P(GraphicObjectsTest, WritesTextOverPictureOrBrush) {
    const long font = objects->CreateFont(240, L"Tahoma", kInk, window.Handle());
    ASSERT_NE(font, 0);
    // The flags that would write into the text lie beyond 16 bits.
    objects->DrawText(L"HHHHHHHHHH", {20, 20, 220, 80},
                      static_cast<std::uint16_t>(short(DT_WORD_ELLIPSIS >> 3)), font, 0);
    objects->DrawText(L"HHHHHHHHHH", {20, 120, 220, 180}, DT_END_ELLIPSIS | DT_SINGLELINE | DT_VCENTER, font,
                      brush);
    // The rectangles follow the window, the letters keep their size.
    int firstInk = 0;
    for (const int scale : {1, 2, 1}) {
        if (scale == 2) Stretch(kPlace, kLarge);
        ShowLonger();
        const Pixels seen = Pixels::OfScreen(scale == 1 ? kPlace : kLarge);
        int ink[2] = {};
        int paint[2] = {};
        for (int y = 20 * scale; y < 180 * scale; ++y)
            for (int x = 20 * scale; x < 220 * scale; ++x) {
                const std::size_t which = y < 100 * scale ? 0 : 1;
                ink[which] += Alike(seen.At(x, y), kInk);
                paint[which] += Alike(seen.At(x, y), kPaint);
            }
        EXPECT_GT(ink[0], 200) << scale;
        EXPECT_EQ(paint[0], 0) << scale;
        EXPECT_GT(ink[1], 200) << scale;
        EXPECT_GT(paint[1], 200 * 60 * scale * scale / 2) << scale;
        EXPECT_TRUE(Alike(seen.At(300 * scale, 150 * scale), kPaper)) << scale;
        if (firstInk == 0) firstInk = ink[0];
        if (scale == 1) {
            EXPECT_EQ(ink[0], firstInk);
        }
        if (scale == 2) Stretch(kLarge, kPlace);
    }
}

TEST_P(GraphicObjectsTest, KeepsPensInUseAliveAndNewerOnTop) {
    objects->DrawRectangle({50, 50, 150, 150}, pen, brush);
    EXPECT_EQ(objects->Remove(pen), S_OK);
    EXPECT_EQ(objects->Remove(brush), S_OK);
    EXPECT_EQ(objects->Remove(pen), E_FAIL);
    const long other = objects->CreateBrush(kInk);
    const long above = objects->DrawRectangle({100, 100, 200, 200}, 0, other);
    Show();
    Pixels seen = Pixels::OfScreen(kPlace);
    EXPECT_TRUE(Alike(seen.At(75, 75), kPaint));
    EXPECT_TRUE(Alike(seen.At(125, 125), kInk));
    EXPECT_EQ(objects->Remove(above), S_OK);
    Show();
    seen = Pixels::OfScreen(kPlace);
    EXPECT_TRUE(Alike(seen.At(125, 125), kPaint));
    EXPECT_TRUE(Alike(seen.At(175, 175), kPaper));
}

TEST(GraphicObjectList, NumbersShapesThroughTheProcessAndBoundsThem) {
    GraphicObjects one;
    GraphicObjects two;
    const long first = one.DrawLine({0, 0}, {1, 1}, 0);
    EXPECT_EQ(two.DrawEllipse({}, 0, 0), first + 1);
    EXPECT_EQ(two.Remove(first), E_FAIL);
    EXPECT_EQ(one.Remove(first), S_OK);
    EXPECT_EQ(one.DrawLine({0, 0}, {1, 1}, 0), first + 2);

    for (std::size_t i = 1; i < GraphicObjects::kMostShapes; ++i)
        EXPECT_GE(one.DrawLine({0, 0}, {1, 1}, 0), 0);
    EXPECT_EQ(one.DrawText(L"", {}, 0, 0, 0), E_OUTOFMEMORY);
    for (std::size_t i = 0; i < GraphicObjects::kMostTools; ++i)
        EXPECT_NE(one.CreateBrush(RGB(i, 0, 0)), 0);
    EXPECT_EQ(one.CreatePen(PS_SOLID, 1, 0), 0);
    one.RemoveAll();
    EXPECT_NE(one.CreatePen(PS_SOLID, 1, 0), 0);
}

// A memory bitmap of paper, 32 bits a pixel.
class Sheet {
  public:
    Sheet() {
        BITMAPINFO info = {};
        info.bmiHeader = {sizeof(info.bmiHeader), kSide, kSide, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        m_bitmap =
            util::UniqueBitmap(CreateDIBSection(m_dc.Get(), &info, DIB_RGB_COLORS, &m_bits, nullptr, 0));
        m_selected.emplace(m_dc.Get(), m_bitmap.Get());
        for (int i = 0; i < kSide * kSide; ++i)
            static_cast<COLORREF*>(m_bits)[i] = static_cast<COLORREF>(i * 2654435761u) & 0xFFFFFF;
    }
    HDC Dc() const { return m_dc.Get(); }
    std::vector<COLORREF> Colours() const {
        GdiFlush();
        std::vector<COLORREF> colours(kSide * kSide);
        const auto* pixel = static_cast<const COLORREF*>(m_bits);
        for (COLORREF& colour : colours)
            colour = *pixel++ & 0xFFFFFF;
        return colours;
    }

    codec::BgrScaler::Target Pixels() const {
        const int stride = kSide * 4;
        return {static_cast<std::uint8_t*>(m_bits) + (kSide - 1) * stride, -stride, kSide, kSide};
    }

    static constexpr PixelSize kSize{160, 160};

  private:
    static constexpr int kSide = kSize.width;
    void* m_bits = nullptr;
    util::UniqueMemoryDc m_dc{CreateCompatibleDC(nullptr)};
    util::UniqueBitmap m_bitmap;
    std::optional<util::SelectGuard> m_selected;
};

// The farthest that a channel of two pictures is apart.
int Distance(const std::vector<COLORREF>& a, const std::vector<COLORREF>& b) {
    int farthest = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        for (const int shift : {0, 8, 16})
            farthest = std::max(farthest, std::abs(static_cast<int>(a[i] >> shift & 0xFF) -
                                                   static_cast<int>(b[i] >> shift & 0xFF)));
    return farthest;
}

// Whatever is drawn with and wherever it lies: what is kept of the objects gives the pixels that painting
// them gives, on every ground.
TEST(GraphicObjectList, IsPutOverPicturesAsItIsPainted) {
    struct Pen {
        int style;
        int width;
    };
    for (const Pen& kind : {Pen{PS_SOLID, 1}, {PS_SOLID, 4}, {PS_DASH, 1}, {PS_NULL, 1}, {PS_INSIDEFRAME, 5}})
        for (const bool filled : {false, true})
            for (const PixelRect& box : {PixelRect{20, 30, 121, 90},
                                         {-30, -10, 40, 60},
                                         {90, 100, 300, 190},
                                         {70, 70, 40, 50},
                                         {-900, -2000, 3000, 80}}) {
                const auto objects = std::make_shared<GraphicObjects>();
                const long pen = objects->CreatePen(kind.style, kind.width, kInk);
                const long brush = filled ? objects->CreateBrush(kPaint) : 0;
                const long font = objects->CreateFont(200, L"Tahoma", kInk, nullptr);
                objects->DrawEllipse(box, pen, brush);
                objects->DrawRectangle(Offset(box, 9, 5), pen, brush);
                objects->DrawLine({box.left, box.bottom}, {box.right, box.top}, pen);
                // The edges of smoothed letters: how they are mixed depends on the ground a little.
                const bool text = kind.width == 4;
                if (text) objects->DrawText(L"Gate", box, DT_CENTER, font, 0);

                OverlayLayer layer(objects);
                int waits = 0;
                while (!layer.Follow(Sheet::kSize) && waits < 100)
                    ++waits;
                ASSERT_LT(waits, 10);
                Sheet put;
                layer.Compose(put.Pixels());
                const Sheet painted;
                objects->PaintOverlays(painted.Dc());
                EXPECT_LE(Distance(put.Colours(), painted.Colours()), text ? 64 : 0)
                    << kind.style << ' ' << kind.width << ' ' << filled << ' ' << box.left;

                // Nothing is put any more once it has changed, in number, place or window.
                objects->Remove(pen);
                EXPECT_TRUE(layer.Follow(Sheet::kSize)) << "the pen lives on in the objects";
                objects->Resize({100, 100}, {101, 100});
                EXPECT_FALSE(layer.Follow(Sheet::kSize));
                EXPECT_FALSE(layer.Follow({Sheet::kSize.width, 90}));
            }
}

// However it is drawn and wherever it lies, an ellipse has the pixels that GDI would give it there.
TEST(GraphicObjectList, DrawsEllipsesLikeGdi) {
    struct Pen {
        int style;
        int width;
    };
    const PixelSize canvas{160, 160};
    for (const Pen& kind :
         {Pen{PS_SOLID, 1}, {PS_SOLID, 4}, {PS_SOLID, 9}, {PS_DASH, 1}, {PS_NULL, 1}, {PS_INSIDEFRAME, 5}})
        for (const bool filled : {false, true})
            for (const PixelRect& box : {PixelRect{20, 30, 121, 90},
                                         {-30, -10, 40, 60},
                                         {90, 100, 300, 190},
                                         {70, 70, 40, 50},
                                         {50, 50, 50, 50},
                                         {-900, -2000, 3000, 80}}) {
                GraphicObjects objects;
                const long pen = objects.CreatePen(kind.style, kind.width, kInk);
                const long brush = filled ? objects.CreateBrush(kPaint) : 0;
                objects.DrawEllipse(box, pen, brush);
                // The size of another window and back: what was kept for the first one must not stay.
                objects.Resize(canvas, {320, 320});
                const Sheet other;
                objects.PaintOverlays(other.Dc());
                objects.Resize({320, 320}, canvas);

                const auto stretched = [](int coordinate) {
                    return OnStretchedCanvas(OnStretchedCanvas(coordinate, 2), 0.5);
                };
                const RECT is{stretched(box.left), stretched(box.top), stretched(box.right),
                              stretched(box.bottom)};
                const Sheet expected;
                {
                    const util::UniquePen systemPen(CreatePen(kind.style, kind.width, kInk));
                    const util::UniqueBrush systemBrush(CreateSolidBrush(kPaint));
                    const util::SelectGuard withPen(expected.Dc(), systemPen.Get());
                    if (filled) {
                        const util::SelectGuard withBrush(expected.Dc(), systemBrush.Get());
                        Ellipse(expected.Dc(), is.left, is.top, is.right, is.bottom);
                    } else {
                        SetBkMode(expected.Dc(), TRANSPARENT);
                        Arc(expected.Dc(), is.left, is.top, is.right, is.bottom, 0, 0, 0, 0);
                    }
                }
                const Sheet written;
                objects.PaintOverlays(written.Dc());
                EXPECT_TRUE(written.Colours() == expected.Colours())
                    << kind.style << ' ' << kind.width << ' ' << filled << ' ' << box.left;
                // The same in moved device contexts, like those of windows.
                const Sheet moved;
                SetViewportOrgEx(moved.Dc(), 1, 0, nullptr);
                SetWindowOrgEx(moved.Dc(), 1, 0, nullptr);
                objects.PaintOverlays(moved.Dc());
                EXPECT_TRUE(moved.Colours() == expected.Colours())
                    << kind.style << ' ' << kind.width << ' ' << filled << ' ' << box.left;
            }
}

// While two controls' pictures are being shown.
TEST(GraphicObjectList, LeaksNothingOverTenThousandRounds) {
    GraphicObjects lists[2];
    const auto round = [](GraphicObjects& objects) {
        const long pen = objects.CreatePen(PS_DASH, 1, kInk);
        const long font = objects.CreateFont(80, L"Tahoma", kInk, nullptr);
        const long line = objects.DrawLine({0, 0}, {60, 60}, pen);
        const long disc = objects.DrawEllipse({0, 0, 60, 60}, pen, 0);
        const long text = objects.DrawText(L"x", {0, 0, 60, 60}, 0, font, 0);
        for (const long handle : {pen, line, disc, text, font})
            ASSERT_EQ(objects.Remove(handle), S_OK);
    };
    const auto paint = [&lists] {
        const Sheet sheet;
        for (GraphicObjects& objects : lists)
            objects.PaintOverlays(sheet.Dc());
    };
    round(lists[0]);
    paint();  // what the system keeps for itself
    const ResourceUse before = ResourceUse::Now();
    std::atomic<bool> ended{false};
    std::atomic<int> pictures{0};
    std::thread display([&] {
        const Sheet sheet;
        for (; !ended; ++pictures)
            for (GraphicObjects& objects : lists)
                objects.PaintOverlays(sheet.Dc());
    });
    for (int i = 0; i < 5000; ++i)
        for (GraphicObjects& objects : lists)
            round(objects);
    ended = true;
    display.join();
    EXPECT_GT(pictures, 0);
    const ResourceUse after = ResourceUse::Now();
    EXPECT_LE(after.gdiSlots, before.gdiSlots + 4) << after;
    EXPECT_LE(after.userSlots, before.userSlots + 4) << after;
}

}  // namespace
}  // namespace norix
