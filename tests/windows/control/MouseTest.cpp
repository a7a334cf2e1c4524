// The mouse over the video, and text that is dropped on it.

#include <windows.h>

#include <ole2.h>

#include <cstring>

#include "tests/windows/control/ControlFixture.h"

namespace norix::test {
namespace {

class Mouse : public ControlTest {
  protected:
    LRESULT At(UINT message, int x, int y, WPARAM wParam = 0) {
        return Send(message, wParam, MAKELPARAM(x, y));
    }
};

// The control is 320 x 240 pixels.
TEST_F(Mouse, BecomesEvents) {
    struct Step {
        UINT message;
        int x;
        int y;
    };
    const struct {
        const char* what;
        std::vector<Step> steps;
        Texts expected;
    } cases[] = {
        {"click",
         {{WM_LBUTTONDOWN, 10, 20}, {WM_LBUTTONUP, 11, 21}},
         {"OnMouseDown(10, 20)", "OnMouseUp(11, 21)", "OnMouseClick(11, 21)"}},
        {"right click",
         {{WM_RBUTTONDOWN, 0, 0}, {WM_RBUTTONUP, 319, 239}},
         {"OnRMouseDown(0, 0)", "OnRMouseUp(319, 239)", "OnRMouseClick(319, 239)"}},
        {"drag out to the left",
         {{WM_LBUTTONDOWN, 10, 20}, {WM_MOUSEMOVE, -3, 30}, {WM_LBUTTONUP, -5, 40}},
         {"OnMouseDown(10, 20)", "OnMouseMove(-3, 30)", "OnMouseUp(-5, 40)"}},
        {"drag just over the edge",
         {{WM_RBUTTONDOWN, 10, 20}, {WM_RBUTTONUP, 319, 240}},
         {"OnRMouseDown(10, 20)", "OnRMouseUp(319, 240)"}},
        {"double click",
         {{WM_LBUTTONDOWN, 1, 2}, {WM_LBUTTONUP, 1, 2}, {WM_LBUTTONDBLCLK, 1, 3}, {WM_LBUTTONUP, 1, 3}},
         {"OnMouseDown(1, 2)", "OnMouseUp(1, 2)", "OnMouseClick(1, 2)", "OnMouseDbClick(1, 3)",
          "OnMouseUp(1, 3)"}},
        {"right double click",
         {{WM_RBUTTONDBLCLK, 1, 3}, {WM_RBUTTONUP, 1, 3}},
         {"OnRMouseDbClick(1, 3)", "OnRMouseUp(1, 3)"}},
        {"pressed elsewhere", {{WM_LBUTTONUP, 1, 3}}, {"OnMouseUp(1, 3)"}},
        {"the other button",
         {{WM_LBUTTONDOWN, 1, 3}, {WM_RBUTTONUP, 1, 3}},
         {"OnMouseDown(1, 3)", "OnRMouseUp(1, 3)"}},
        {"taken away",
         {{WM_LBUTTONDOWN, 1, 3}, {WM_CAPTURECHANGED, 0, 0}, {WM_LBUTTONUP, 1, 3}},
         {"OnMouseDown(1, 3)", "OnMouseUp(1, 3)"}},
        {"move", {{WM_MOUSEMOVE, -32768, 32767}}, {"OnMouseMove(-32768, 32767)"}},
    };
    Create();
    for (const auto& c : cases) {
        for (const Step& step : c.steps)
            At(step.message, step.x, step.y);
        EXPECT_EQ(Host().Take(), c.expected) << c.what;
        ReleaseCapture();
        Host().Take();
    }
}

TEST_F(Mouse, WheelCountsFromTheControlsCorner) {
    Create();
    SetWindowPos(Window(), nullptr, 100, 50, 320, 240, SWP_NOZORDER | SWP_NOACTIVATE);
    Host().Take();
    At(WM_MOUSEWHEEL, 110, 70, MAKEWPARAM(0, 120));
    At(WM_MOUSEWHEEL, -20, -30, MAKEWPARAM(MK_CONTROL, -240));  // a screen to the left
    EXPECT_EQ(Host().Take(), (Texts{"OnMouseWheel(120, 10, 20)", "OnMouseWheel(-240, -120, -80)"}));
}

// ---- Drag and drop

/// What is dragged: memory of exactly the given content.
class DraggedText final : public TestObject<IDataObject> {
  public:
    DraggedText(CLIPFORMAT format, const void* content, std::size_t size)
        : m_format(format), m_content(static_cast<const char*>(content), size) {}

    STDMETHODIMP QueryGetData(FORMATETC* format) override {
        return format->cfFormat == m_format && (format->tymed & TYMED_HGLOBAL) != 0 ? S_OK : DV_E_FORMATETC;
    }
    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override {
        if (FAILED(QueryGetData(format))) return DV_E_FORMATETC;
        *medium = {};
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = GlobalAlloc(GMEM_MOVEABLE, m_content.size());
        std::memcpy(GlobalLock(medium->hGlobal), m_content.data(), m_content.size());
        GlobalUnlock(medium->hGlobal);
        return S_OK;
    }
    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP DUnadvise(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }

  private:
    const CLIPFORMAT m_format;
    const std::string m_content;
};

TEST_F(Mouse, DropsTextIntoAnEvent) {
    Create();
    // The system keeps a window's drop target here.
    auto* target = static_cast<IDropTarget*>(GetPropW(Window(), L"OleDropTargetInterface"));
    ASSERT_NE(target, nullptr);
    target->AddRef();

    const wchar_t terminated[] = L"00:11:22:33:44:55\0garbage";
    const wchar_t unterminated[] = {L'0', L'0', L':', L'1'};
    const struct {
        const char* what;
        DraggedText data;
        DWORD effect;
        Texts expected;
    } cases[] = {
        {"a text",
         {CF_UNICODETEXT, terminated, sizeof terminated},
         DROPEFFECT_COPY,
         {"OnDrop(&\"00:11:22:33:44:55\")"}},
        {"without an end",
         {CF_UNICODETEXT, unterminated, sizeof unterminated},
         DROPEFFECT_COPY,
         {"OnDrop(&\"00:1\")"}},
        {"half a character", {CF_UNICODETEXT, unterminated, 1}, DROPEFFECT_COPY, {"OnDrop(&\"\")"}},
        {"files", {CF_HDROP, terminated, sizeof terminated}, DROPEFFECT_NONE, {}},
    };
    for (const auto& c : cases) {
        auto* data = const_cast<DraggedText*>(&c.data);
        DWORD effect = DROPEFFECT_COPY | DROPEFFECT_MOVE;
        EXPECT_EQ(target->DragEnter(data, 0, {1, 1}, &effect), S_OK);
        EXPECT_EQ(effect, c.effect) << c.what;
        effect = DROPEFFECT_COPY | DROPEFFECT_LINK;
        EXPECT_EQ(target->DragOver(0, {2, 2}, &effect), S_OK);
        EXPECT_EQ(effect, c.effect) << c.what;
        effect = DROPEFFECT_COPY;
        EXPECT_EQ(target->Drop(data, 0, {2, 2}, &effect), S_OK);
        EXPECT_EQ(Host().Take(), c.expected) << c.what;
    }
    DWORD effect = DROPEFFECT_COPY;
    EXPECT_EQ(target->DragEnter(nullptr, 0, {}, &effect), S_OK);
    EXPECT_EQ(effect, static_cast<DWORD>(DROPEFFECT_NONE));
    EXPECT_EQ(target->Drop(nullptr, 0, {}, &effect), E_POINTER);

    // A drop that is under way while the window goes reaches nobody.
    Control().DestroyWindow();
    DraggedText late(CF_UNICODETEXT, terminated, sizeof terminated);
    EXPECT_EQ(target->Drop(&late, 0, {}, &effect), S_OK);
    EXPECT_EQ(Host().Take(), Texts());
    EXPECT_EQ(target->Release(), 0u);
}

}  // namespace
}  // namespace norix::test
