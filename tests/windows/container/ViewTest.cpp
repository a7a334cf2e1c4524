// The control's picture for its container: drawn into bitmaps and metafiles, and the news of its changes.

#include <olectl.h>

#include <vector>

#include "tests/windows/container/ContainerTest.h"
#include "util/Handles.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr COLORREF kPaper = RGB(255, 0, 255);

// A 32-bit picture in memory, filled with a colour that the control does not draw.
class Canvas {
  public:
    Canvas(int width, int height) : width_(width), height_(height), dc_(CreateCompatibleDC(nullptr)) {
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        bitmap_.Reset(CreateDIBSection(dc_.Get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
        previous_ = SelectObject(dc_.Get(), bitmap_.Get());
        pixels_ = static_cast<DWORD*>(bits);
        Clear();
    }
    ~Canvas() { SelectObject(dc_.Get(), previous_); }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    HDC Dc() const { return dc_.Get(); }

    void Clear() {
        GdiFlush();
        std::fill_n(pixels_, width_ * height_, kPaper);
    }

    // Pixels inside `area` that were not drawn on, and outside of it that were.
    int Missed(const RECT& area) const { return Count(area, true, true); }
    int Spilt(const RECT& area) const { return Count(area, false, false); }

  private:
    int Count(const RECT& area, bool inside, bool paper) const {
        GdiFlush();
        int count = 0;
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                const POINT at{x, y};
                const bool isPaper = (pixels_[y * width_ + x] & 0xFFFFFF) == kPaper;
                if ((PtInRect(&area, at) != FALSE) == inside && isPaper == paper) ++count;
            }
        }
        return count;
    }

    int width_;
    int height_;
    util::UniqueMemoryDc dc_;
    util::UniqueBitmap bitmap_;
    HGDIOBJ previous_ = nullptr;
    DWORD* pixels_ = nullptr;
};

class AdviseSink final : public TestObject<IAdviseSink> {
  public:
    STDMETHODIMP_(void) OnDataChange(FORMATETC*, STGMEDIUM*) override {
        ADD_FAILURE() << "no data was asked for";
    }
    STDMETHODIMP_(void) OnViewChange(DWORD aspect, LONG) override {
        EXPECT_EQ(aspect, static_cast<DWORD>(DVASPECT_CONTENT));
        news.push_back("view");
    }
    STDMETHODIMP_(void) OnRename(IMoniker*) override { ADD_FAILURE() << "nothing was renamed"; }
    STDMETHODIMP_(void) OnSave() override { news.push_back("save"); }
    STDMETHODIMP_(void) OnClose() override { news.push_back("close"); }
    std::vector<std::string> news;
};

class ViewTest : public ContainerTest {
  protected:
    HRESULT Draw(HDC dc, const RECT& area, DWORD aspect = DVASPECT_CONTENT) const {
        const RECTL bounds{area.left, area.top, area.right, area.bottom};
        return Query<IViewObject2>()->Draw(aspect, -1, nullptr, nullptr, nullptr, dc, &bounds, nullptr,
                                           nullptr, 0);
    }
};

const RECT kArea{20, 10, 120, 90};

TEST_F(ViewTest, FillsItsRectangleAndNothingElse) {
    Create();
    Canvas canvas(160, 120);
    const auto expectFilled = [&](const RECT& area, const RECT& device) {
        canvas.Clear();
        ASSERT_EQ(Draw(canvas.Dc(), area), S_OK);
        EXPECT_EQ(canvas.Missed(device), 0);
        EXPECT_EQ(canvas.Spilt(device), 0);
    };
    expectFilled(kArea, kArea);
    InitNew();
    SetSite();
    DoVerb(OLEIVERB_INPLACEACTIVATE);
    expectFilled(kArea, kArea);
    EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
    expectFilled(kArea, kArea);

    // In the container's clipping, and in its logical units.
    IntersectClipRect(canvas.Dc(), 40, 20, 60, 40);
    expectFilled(kArea, {40, 20, 60, 40});
    SelectClipRgn(canvas.Dc(), nullptr);
    SetMapMode(canvas.Dc(), MM_ANISOTROPIC);
    SetWindowExtEx(canvas.Dc(), 80, 60, nullptr);
    SetViewportExtEx(canvas.Dc(), 160, 120, nullptr);
    SetViewportOrgEx(canvas.Dc(), 10, 20, nullptr);
    expectFilled({5, 5, 55, 35}, {20, 30, 120, 90});
}

TEST_F(ViewTest, LeavesTheDeviceContextAsItWas) {
    Create();
    Canvas canvas(160, 120);
    const util::UniquePen pen(CreatePen(PS_SOLID, 3, RGB(1, 2, 3)));
    const util::SelectGuard selected(canvas.Dc(), pen.Get());
    SetTextColor(canvas.Dc(), RGB(4, 5, 6));
    SetBkMode(canvas.Dc(), OPAQUE);
    SetStretchBltMode(canvas.Dc(), BLACKONWHITE);
    SetTextAlign(canvas.Dc(), TA_RIGHT);
    const HGDIOBJ font = GetCurrentObject(canvas.Dc(), OBJ_FONT);
    ASSERT_EQ(Draw(canvas.Dc(), kArea), S_OK);
    EXPECT_EQ(GetCurrentObject(canvas.Dc(), OBJ_PEN), static_cast<HGDIOBJ>(pen.Get()));
    EXPECT_EQ(GetCurrentObject(canvas.Dc(), OBJ_FONT), font);
    EXPECT_EQ(GetTextColor(canvas.Dc()), RGB(4, 5, 6));
    EXPECT_EQ(GetBkMode(canvas.Dc()), OPAQUE);
    EXPECT_EQ(GetStretchBltMode(canvas.Dc()), BLACKONWHITE);
    EXPECT_EQ(GetTextAlign(canvas.Dc()), static_cast<UINT>(TA_RIGHT));
    EXPECT_EQ(SaveDC(canvas.Dc()), 1) << "a saved state was left behind";
}

TEST_F(ViewTest, DrawsIntoMetafiles) {
    Create();
    const HDC recorder = CreateEnhMetaFileW(nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(recorder, nullptr);
    EXPECT_EQ(Draw(recorder, {0, 0, 100, 80}), S_OK);
    const HENHMETAFILE recorded = CloseEnhMetaFile(recorder);
    ENHMETAHEADER header{};
    EXPECT_GT(GetEnhMetaFileHeader(recorded, sizeof(header), &header), 0u);
    EXPECT_GT(header.nRecords, 2u) << "nothing was drawn between begin and end";

    Canvas canvas(160, 120);
    EXPECT_TRUE(PlayEnhMetaFile(canvas.Dc(), recorded, &kArea));
    // Scaling may lose a pixel row at the edge.
    RECT middle = kArea;
    InflateRect(&middle, -2, -2);
    EXPECT_EQ(canvas.Missed(middle), 0);
    DeleteEnhMetaFile(recorded);
}

TEST_F(ViewTest, TellsWhenThePictureChanges) {
    Create();
    const auto view = Query<IViewObject2>();
    AdviseSink sink;
    ASSERT_EQ(view->SetAdvise(DVASPECT_CONTENT, 0, &sink), S_OK);
    EXPECT_THAT(sink.news, IsEmpty());
    SIZEL extent{5000, 4000};
    object->SetExtent(DVASPECT_CONTENT, &extent);
    EXPECT_THAT(sink.news, ElementsAre("view"));

    DWORD aspects = 0;
    DWORD flags = 1;
    ComPtr<IAdviseSink> current;
    EXPECT_EQ(view->GetAdvise(&aspects, &flags, &current), S_OK);
    EXPECT_EQ(aspects, static_cast<DWORD>(DVASPECT_CONTENT));
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(current.Get(), &sink);
    current.Reset();

    sink.news.clear();
    ASSERT_EQ(view->SetAdvise(DVASPECT_CONTENT, ADVF_PRIMEFIRST | ADVF_ONLYONCE, &sink), S_OK);
    EXPECT_THAT(sink.news, ElementsAre("view"));
    EXPECT_EQ(sink.References(), 0) << "once was enough";
    extent.cx = 6000;
    object->SetExtent(DVASPECT_CONTENT, &extent);
    EXPECT_THAT(sink.news, ElementsAre("view"));

    ASSERT_EQ(view->SetAdvise(DVASPECT_CONTENT, 0, &sink), S_OK);
    EXPECT_EQ(view->SetAdvise(0, 0, nullptr), S_OK);
    EXPECT_EQ(sink.References(), 0);
}

}  // namespace
