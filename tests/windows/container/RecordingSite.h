#pragma once

#include <windows.h>

#include <ocidl.h>
#include <oleidl.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/windows/container/TestObject.h"

// Every callback that the control makes, in order.
class CallLog {
  public:
    void Add(const std::string& call) { calls_.push_back(call); }
    std::vector<std::string> Take() { return std::exchange(calls_, {}); }
    const std::vector<std::string>& Calls() const { return calls_; }

  private:
    std::vector<std::string> calls_;
};

// The frame window of the recording container. It insists that an object which made itself active takes
// itself back before the frame goes.
class RecordingFrame final : public TestObject<IOleInPlaceFrame> {
  public:
    RecordingFrame(HWND window, CallLog& log) : window_(window), log_(log) {}
    ~RecordingFrame() override {
        EXPECT_EQ(active_, nullptr) << "the control is still the frame's active object";
    }

    IOleInPlaceActiveObject* ActiveObject() const { return active_; }

    STDMETHODIMP GetWindow(HWND* window) override;
    STDMETHODIMP ContextSensitiveHelp(BOOL enter) override;
    STDMETHODIMP GetBorder(LPRECT border) override;
    STDMETHODIMP RequestBorderSpace(LPCBORDERWIDTHS widths) override;
    STDMETHODIMP SetBorderSpace(LPCBORDERWIDTHS widths) override;
    STDMETHODIMP SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR name) override;
    STDMETHODIMP InsertMenus(HMENU shared, LPOLEMENUGROUPWIDTHS widths) override;
    STDMETHODIMP SetMenu(HMENU shared, HOLEMENU menu, HWND object) override;
    STDMETHODIMP RemoveMenus(HMENU shared) override;
    STDMETHODIMP SetStatusText(LPCOLESTR text) override;
    STDMETHODIMP EnableModeless(BOOL enable) override;
    STDMETHODIMP TranslateAccelerator(LPMSG message, WORD id) override;

  protected:
    void* Find(REFIID iid) override;

  private:
    HWND window_;
    CallLog& log_;
    IOleInPlaceActiveObject* active_ = nullptr;  // compared and called only; the control takes it back
};

// The container's side of one embedded control. It records every callback and holds the control to the order
// that OLE prescribes: UI-active only while in-place active, each activation taken back exactly once.
//
// What it offers and what fails is set by the members, at any time.
class RecordingSite final
    : public TestObject<IOleClientSite, IOleInPlaceSiteWindowless, IOleControlSite, IDispatch> {
  public:
    RecordingSite(HWND window, RecordingFrame& frame, CallLog& log);
    ~RecordingSite() override;

    bool offersInPlace = true;
    bool offersWindowless = false;
    bool offersControlSite = true;
    bool offersAmbients = true;
    bool offersFrame = true;
    bool everythingFails = false;
    std::set<std::string> failing;  // callbacks by name
    RECT position{10, 20, 210, 170};
    RECT clip{0, 0, 400, 300};
    std::map<DISPID, VARIANT> ambients;  // plain values only
    std::set<DISPID> readAmbients;

    bool InPlaceActive() const { return inPlaceActive_; }
    bool UiActive() const { return uiActive_; }

    // IOleClientSite
    STDMETHODIMP SaveObject() override;
    STDMETHODIMP GetMoniker(DWORD assign, DWORD which, IMoniker** moniker) override;
    STDMETHODIMP GetContainer(IOleContainer** container) override;
    STDMETHODIMP ShowObject() override;
    STDMETHODIMP OnShowWindow(BOOL show) override;
    STDMETHODIMP RequestNewObjectLayout() override;

    // IOleInPlaceSite
    STDMETHODIMP GetWindow(HWND* window) override;
    STDMETHODIMP ContextSensitiveHelp(BOOL enter) override;
    STDMETHODIMP CanInPlaceActivate() override;
    STDMETHODIMP OnInPlaceActivate() override;
    STDMETHODIMP OnUIActivate() override;
    STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, LPRECT where,
                                  LPRECT visible, LPOLEINPLACEFRAMEINFO info) override;
    STDMETHODIMP Scroll(SIZE extent) override;
    STDMETHODIMP OnUIDeactivate(BOOL undoable) override;
    STDMETHODIMP OnInPlaceDeactivate() override;
    STDMETHODIMP DiscardUndoState() override;
    STDMETHODIMP DeactivateAndUndo() override;
    STDMETHODIMP OnPosRectChange(LPCRECT where) override;

    // IOleInPlaceSiteEx
    STDMETHODIMP OnInPlaceActivateEx(BOOL* noRedraw, DWORD flags) override;
    STDMETHODIMP OnInPlaceDeactivateEx(BOOL noRedraw) override;
    STDMETHODIMP RequestUIActivate() override;

    // IOleInPlaceSiteWindowless
    STDMETHODIMP CanWindowlessActivate() override;
    STDMETHODIMP GetCapture() override;
    STDMETHODIMP SetCapture(BOOL capture) override;
    STDMETHODIMP GetFocus() override;
    STDMETHODIMP SetFocus(BOOL focus) override;
    STDMETHODIMP GetDC(LPCRECT rect, DWORD flags, HDC* dc) override;
    STDMETHODIMP ReleaseDC(HDC dc) override;
    STDMETHODIMP InvalidateRect(LPCRECT rect, BOOL erase) override;
    STDMETHODIMP InvalidateRgn(HRGN region, BOOL erase) override;
    STDMETHODIMP ScrollRect(INT dx, INT dy, LPCRECT scroll, LPCRECT within) override;
    STDMETHODIMP AdjustRect(LPRECT rect) override;
    STDMETHODIMP OnDefWindowMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) override;

    // IOleControlSite
    STDMETHODIMP OnControlInfoChanged() override;
    STDMETHODIMP LockInPlaceActive(BOOL lock) override;
    STDMETHODIMP GetExtendedControl(IDispatch** extended) override;
    STDMETHODIMP TransformCoords(POINTL* himetric, POINTF* container, DWORD flags) override;
    STDMETHODIMP TranslateAccelerator(MSG* message, DWORD modifiers) override;
    STDMETHODIMP OnFocus(BOOL gotFocus) override;
    STDMETHODIMP ShowPropertyFrame() override;

    // IDispatch: ambient properties
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override;

  protected:
    void* Find(REFIID iid) override;

  private:
    // Records the call; false when the test wants it to fail.
    bool Passes(const std::string& call);
    // The control has no business with this callback: windowless services without windowless activation, and
    // the like.
    HRESULT Unexpected(const std::string& call);

    HWND window_;
    RecordingFrame& frame_;
    CallLog& log_;
    bool inPlaceActive_ = false;
    bool uiActive_ = false;
};
