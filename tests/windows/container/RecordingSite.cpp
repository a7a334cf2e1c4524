#include "tests/windows/container/RecordingSite.h"

#include <oleauto.h>

#include <utility>

namespace {

std::string Shown(const char* name, bool value) {
    return std::string(name) + (value ? "(true)" : "(false)");
}

}  // namespace

// ---- Frame
// --------------------------------------------------------------------------------------------------

void* RecordingFrame::Find(REFIID iid) {
    if (iid == IID_IOleWindow || iid == IID_IOleInPlaceUIWindow) return static_cast<IOleInPlaceFrame*>(this);
    return TestObject::Find(iid);
}

STDMETHODIMP RecordingFrame::GetWindow(HWND* window) {
    log_.Add("frame.GetWindow");
    *window = window_;
    return S_OK;
}

STDMETHODIMP RecordingFrame::ContextSensitiveHelp(BOOL) {
    log_.Add("frame.ContextSensitiveHelp");
    return E_NOTIMPL;
}

STDMETHODIMP RecordingFrame::GetBorder(LPRECT) {
    log_.Add("frame.GetBorder");
    return INPLACE_E_NOTOOLSPACE;
}

STDMETHODIMP RecordingFrame::RequestBorderSpace(LPCBORDERWIDTHS) {
    log_.Add("frame.RequestBorderSpace");
    return INPLACE_E_NOTOOLSPACE;
}

STDMETHODIMP RecordingFrame::SetBorderSpace(LPCBORDERWIDTHS widths) {
    log_.Add(widths ? "frame.SetBorderSpace(widths)" : "frame.SetBorderSpace(none)");
    return widths ? INPLACE_E_NOTOOLSPACE : S_OK;
}

STDMETHODIMP RecordingFrame::SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) {
    log_.Add(object ? "frame.SetActiveObject(object)" : "frame.SetActiveObject(none)");
    if (object) object->AddRef();
    if (const auto previous = std::exchange(active_, object)) previous->Release();
    return S_OK;
}

STDMETHODIMP RecordingFrame::InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) {
    log_.Add("frame.InsertMenus");
    return E_NOTIMPL;
}

STDMETHODIMP RecordingFrame::SetMenu(HMENU, HOLEMENU, HWND) {
    log_.Add("frame.SetMenu");
    return E_NOTIMPL;
}

STDMETHODIMP RecordingFrame::RemoveMenus(HMENU) {
    log_.Add("frame.RemoveMenus");
    return E_NOTIMPL;
}

STDMETHODIMP RecordingFrame::SetStatusText(LPCOLESTR) {
    log_.Add("frame.SetStatusText");
    return S_OK;
}

STDMETHODIMP RecordingFrame::EnableModeless(BOOL) {
    log_.Add("frame.EnableModeless");
    return S_OK;
}

STDMETHODIMP RecordingFrame::TranslateAccelerator(LPMSG, WORD) {
    log_.Add("frame.TranslateAccelerator");
    return S_FALSE;
}

// ---- Site
// ---------------------------------------------------------------------------------------------------

RecordingSite::RecordingSite(HWND window, RecordingFrame& frame, CallLog& log)
    : window_(window), frame_(frame), log_(log) {}

RecordingSite::~RecordingSite() {
    EXPECT_FALSE(inPlaceActive_) << "the control never took its in-place activation back";
    EXPECT_FALSE(uiActive_) << "the control never took its UI activation back";
}

void* RecordingSite::Find(REFIID iid) {
    if (iid == IID_IOleWindow || iid == IID_IOleInPlaceSite) {
        return offersInPlace ? static_cast<IOleInPlaceSite*>(this) : nullptr;
    }
    if (iid == IID_IOleInPlaceSiteEx || iid == IID_IOleInPlaceSiteWindowless) {
        return offersInPlace && offersWindowless ? static_cast<IOleInPlaceSiteWindowless*>(this) : nullptr;
    }
    if (iid == IID_IOleControlSite && !offersControlSite) return nullptr;
    if (iid == IID_IDispatch && !offersAmbients) return nullptr;
    return TestObject::Find(iid);
}

bool RecordingSite::Passes(const std::string& call) {
    log_.Add(call);
    return !everythingFails && !failing.contains(call);
}

HRESULT RecordingSite::Unexpected(const std::string& call) {
    ADD_FAILURE() << "unexpected callback " << call;
    return E_FAIL;
}

STDMETHODIMP RecordingSite::SaveObject() {
    return Passes("SaveObject") ? S_OK : E_FAIL;
}

STDMETHODIMP RecordingSite::GetMoniker(DWORD, DWORD, IMoniker** moniker) {
    log_.Add("GetMoniker");
    if (moniker) *moniker = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP RecordingSite::GetContainer(IOleContainer** container) {
    log_.Add("GetContainer");
    if (container) *container = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP RecordingSite::ShowObject() {
    return Passes("ShowObject") ? S_OK : E_FAIL;
}

STDMETHODIMP RecordingSite::OnShowWindow(BOOL show) {
    return Unexpected(Shown("OnShowWindow", show));
}

STDMETHODIMP RecordingSite::RequestNewObjectLayout() {
    log_.Add("RequestNewObjectLayout");
    return E_NOTIMPL;
}

STDMETHODIMP RecordingSite::GetWindow(HWND* window) {
    if (!Passes("GetWindow")) return E_FAIL;
    *window = window_;
    return S_OK;
}

STDMETHODIMP RecordingSite::ContextSensitiveHelp(BOOL) {
    return Unexpected("ContextSensitiveHelp");
}

STDMETHODIMP RecordingSite::CanInPlaceActivate() {
    return Passes("CanInPlaceActivate") ? S_OK : S_FALSE;
}

STDMETHODIMP RecordingSite::OnInPlaceActivate() {
    EXPECT_FALSE(inPlaceActive_) << "activated in place twice";
    if (!Passes("OnInPlaceActivate")) return E_FAIL;
    inPlaceActive_ = true;
    return S_OK;
}

STDMETHODIMP RecordingSite::OnUIActivate() {
    EXPECT_TRUE(inPlaceActive_) << "UI-activated without being in-place active";
    EXPECT_FALSE(uiActive_) << "UI-activated twice";
    if (!Passes("OnUIActivate")) return E_FAIL;
    uiActive_ = true;
    return S_OK;
}

STDMETHODIMP RecordingSite::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                             LPRECT where, LPRECT visible, LPOLEINPLACEFRAMEINFO info) {
    *frame = nullptr;
    *document = nullptr;
    if (!Passes("GetWindowContext")) return E_FAIL;
    EXPECT_GE(info->cb, sizeof(OLEINPLACEFRAMEINFO)) << "the frame information's size was not filled in";
    if (offersFrame) {
        *frame = &frame_;
        frame_.AddRef();
    }
    *where = position;
    *visible = clip;
    info->fMDIApp = FALSE;
    info->hwndFrame = window_;
    info->haccel = nullptr;
    info->cAccelEntries = 0;
    return S_OK;
}

STDMETHODIMP RecordingSite::Scroll(SIZE) {
    return Unexpected("Scroll");
}

STDMETHODIMP RecordingSite::OnUIDeactivate(BOOL) {
    EXPECT_TRUE(uiActive_) << "UI-deactivated without being UI-active";
    uiActive_ = false;
    return Passes("OnUIDeactivate") ? S_OK : E_FAIL;
}

STDMETHODIMP RecordingSite::OnInPlaceDeactivate() {
    EXPECT_TRUE(inPlaceActive_) << "deactivated in place without being active";
    EXPECT_FALSE(uiActive_) << "deactivated in place while UI-active";
    inPlaceActive_ = false;
    return Passes("OnInPlaceDeactivate") ? S_OK : E_FAIL;
}

STDMETHODIMP RecordingSite::DiscardUndoState() {
    return Unexpected("DiscardUndoState");
}
STDMETHODIMP RecordingSite::DeactivateAndUndo() {
    return Unexpected("DeactivateAndUndo");
}

STDMETHODIMP RecordingSite::OnPosRectChange(LPCRECT) {
    return Passes("OnPosRectChange") ? S_OK : E_FAIL;
}

STDMETHODIMP RecordingSite::OnInPlaceActivateEx(BOOL* noRedraw, DWORD flags) {
    EXPECT_EQ(flags & ACTIVATE_WINDOWLESS, 0u) << "the control needs a window";
    if (noRedraw) *noRedraw = FALSE;
    return OnInPlaceActivate();
}

STDMETHODIMP RecordingSite::OnInPlaceDeactivateEx(BOOL) {
    return OnInPlaceDeactivate();
}
STDMETHODIMP RecordingSite::RequestUIActivate() {
    return Passes("RequestUIActivate") ? S_OK : S_FALSE;
}

STDMETHODIMP RecordingSite::CanWindowlessActivate() {
    return Passes("CanWindowlessActivate") ? S_OK : S_FALSE;
}
STDMETHODIMP RecordingSite::GetCapture() {
    return Unexpected("GetCapture");
}
STDMETHODIMP RecordingSite::SetCapture(BOOL) {
    return Unexpected("SetCapture");
}
STDMETHODIMP RecordingSite::GetFocus() {
    return Unexpected("GetFocus");
}
STDMETHODIMP RecordingSite::SetFocus(BOOL) {
    return Unexpected("SetFocus");
}
STDMETHODIMP RecordingSite::GetDC(LPCRECT, DWORD, HDC*) {
    return Unexpected("GetDC");
}
STDMETHODIMP RecordingSite::ReleaseDC(HDC) {
    return Unexpected("ReleaseDC");
}
STDMETHODIMP RecordingSite::InvalidateRect(LPCRECT, BOOL) {
    return Unexpected("InvalidateRect");
}
STDMETHODIMP RecordingSite::InvalidateRgn(HRGN, BOOL) {
    return Unexpected("InvalidateRgn");
}
STDMETHODIMP RecordingSite::ScrollRect(INT, INT, LPCRECT, LPCRECT) {
    return Unexpected("ScrollRect");
}
STDMETHODIMP RecordingSite::AdjustRect(LPRECT) {
    return Unexpected("AdjustRect");
}
STDMETHODIMP RecordingSite::OnDefWindowMessage(UINT, WPARAM, LPARAM, LRESULT*) {
    return Unexpected("OnDefWindowMessage");
}

STDMETHODIMP RecordingSite::OnControlInfoChanged() {
    return Passes("OnControlInfoChanged") ? S_OK : E_FAIL;
}

STDMETHODIMP RecordingSite::LockInPlaceActive(BOOL) {
    return Unexpected("LockInPlaceActive");
}

STDMETHODIMP RecordingSite::GetExtendedControl(IDispatch** extended) {
    log_.Add("GetExtendedControl");
    if (extended) *extended = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP RecordingSite::TransformCoords(POINTL*, POINTF*, DWORD) {
    return Unexpected("TransformCoords");
}

STDMETHODIMP RecordingSite::TranslateAccelerator(MSG*, DWORD modifiers) {
    return Passes("TranslateAccelerator(" + std::to_string(modifiers) + ")") ? S_OK : S_FALSE;
}

STDMETHODIMP RecordingSite::OnFocus(BOOL gotFocus) {
    return Passes(Shown("OnFocus", gotFocus)) ? S_OK : E_FAIL;
}

STDMETHODIMP RecordingSite::ShowPropertyFrame() {
    return Passes("ShowPropertyFrame") ? S_OK : E_FAIL;
}

STDMETHODIMP RecordingSite::GetTypeInfoCount(UINT* count) {
    *count = 0;
    return S_OK;
}

STDMETHODIMP RecordingSite::GetTypeInfo(UINT, LCID, ITypeInfo**) {
    return E_NOTIMPL;
}
STDMETHODIMP RecordingSite::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) {
    return E_NOTIMPL;
}

STDMETHODIMP RecordingSite::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO*, UINT*) {
    EXPECT_TRUE(flags & DISPATCH_PROPERTYGET) << "ambient properties can only be read";
    EXPECT_NE(parameters, nullptr);
    EXPECT_NE(result, nullptr);
    readAmbients.insert(id);
    if (everythingFails) return E_FAIL;
    const auto ambient = ambients.find(id);
    if (ambient == ambients.end()) return DISP_E_MEMBERNOTFOUND;
    return VariantCopy(result, &ambient->second);
}
