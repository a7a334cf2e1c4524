#pragma once

#include <windows.h>

#include <ocidl.h>
#include <oleidl.h>
#include <servprov.h>
#include <urlmon.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/windows/framework/TestObject.h"

// Every callback that the control makes, in order.
class CallLog {
  public:
    HRESULT Add(const std::string& call, HRESULT answer = E_NOTIMPL) {
        calls_.push_back(call);
        return answer;
    }
    std::vector<std::string> Take() { return std::exchange(calls_, {}); }

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

    STDMETHODIMP GetWindow(HWND* window) override {
        *window = window_;
        return log_.Add("frame.GetWindow", S_OK);
    }
    STDMETHODIMP ContextSensitiveHelp(BOOL) override { return log_.Add("frame.ContextSensitiveHelp"); }
    STDMETHODIMP GetBorder(LPRECT) override { return log_.Add("frame.GetBorder", INPLACE_E_NOTOOLSPACE); }
    STDMETHODIMP RequestBorderSpace(LPCBORDERWIDTHS) override {
        return log_.Add("frame.RequestBorderSpace", INPLACE_E_NOTOOLSPACE);
    }
    STDMETHODIMP SetBorderSpace(LPCBORDERWIDTHS widths) override {
        return widths ? log_.Add("frame.SetBorderSpace(widths)", INPLACE_E_NOTOOLSPACE)
                      : log_.Add("frame.SetBorderSpace(none)", S_OK);
    }
    STDMETHODIMP SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) override {
        if (object) object->AddRef();
        if (const auto previous = std::exchange(active_, object)) previous->Release();
        return log_.Add(object ? "frame.SetActiveObject(object)" : "frame.SetActiveObject(none)", S_OK);
    }
    STDMETHODIMP InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) override { return log_.Add("frame.InsertMenus"); }
    STDMETHODIMP SetMenu(HMENU, HOLEMENU, HWND) override { return log_.Add("frame.SetMenu"); }
    STDMETHODIMP RemoveMenus(HMENU) override { return log_.Add("frame.RemoveMenus"); }
    STDMETHODIMP SetStatusText(LPCOLESTR) override { return log_.Add("frame.SetStatusText", S_OK); }
    STDMETHODIMP EnableModeless(BOOL) override { return log_.Add("frame.EnableModeless", S_OK); }
    STDMETHODIMP TranslateAccelerator(LPMSG, WORD) override {
        return log_.Add("frame.TranslateAccelerator", S_FALSE);
    }

  protected:
    void* Find(REFIID iid) override {
        if (iid == IID_IOleWindow || iid == IID_IOleInPlaceUIWindow)
            return static_cast<IOleInPlaceFrame*>(this);
        return TestObject::Find(iid);
    }

  private:
    HWND window_;
    CallLog& log_;
    IOleInPlaceActiveObject* active_ = nullptr;  // compared and called only; the control takes it back
};

// A browser's security manager, which says of its page what the test wants.
class ZoneManager final : public TestObject<IInternetHostSecurityManager> {
  public:
    DWORD zone = URLZONE_INTERNET;
    bool readable = true;

    STDMETHODIMP GetSecurityId(BYTE* id, DWORD* size, DWORD_PTR) override;
    STDMETHODIMP ProcessUrlAction(DWORD, BYTE*, DWORD, BYTE*, DWORD, DWORD, DWORD) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP QueryCustomPolicy(REFGUID, BYTE**, DWORD*, BYTE*, DWORD, DWORD) override {
        return E_NOTIMPL;
    }
};

// The container's side of one embedded control. It records every callback and holds the control to the order
// that OLE prescribes: UI-active only while in-place active, each activation taken back exactly once.
//
// What it offers and what fails is set by the members, at any time.
class RecordingSite final
    : public TestObject<IOleClientSite, IOleInPlaceSite, IOleControlSite, IDispatch, IServiceProvider> {
  public:
    RecordingSite(HWND window, RecordingFrame& frame, CallLog& log)
        : window_(window), frame_(frame), log_(log) {}
    ~RecordingSite() override;

    bool offersInPlace = true;
    bool offersControlSite = true;
    bool offersAmbients = true;
    bool offersFrame = true;
    std::set<std::string> failing;  // callbacks by name
    RECT position{10, 20, 210, 170};
    RECT clip{0, 0, 400, 300};
    std::map<DISPID, VARIANT> ambients;  // plain values only

    std::wstring page;           // the page's address; empty: a program
    bool offersManager = false;  // as browsers do
    ZoneManager manager;

    bool InPlaceActive() const { return inPlaceActive_; }
    bool UiActive() const { return uiActive_; }

    // IOleClientSite
    STDMETHODIMP SaveObject() override { return Answer("SaveObject"); }
    STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker** moniker) override {
        *moniker = nullptr;
        log_.Add("GetMoniker");
        return page.empty() ? E_NOTIMPL : CreateURLMoniker(nullptr, page.c_str(), moniker);
    }
    STDMETHODIMP GetContainer(IOleContainer** container) override {
        *container = nullptr;
        return log_.Add("GetContainer", E_NOINTERFACE);
    }
    STDMETHODIMP ShowObject() override { return Answer("ShowObject"); }
    STDMETHODIMP OnShowWindow(BOOL) override { return Unexpected("OnShowWindow"); }
    STDMETHODIMP RequestNewObjectLayout() override { return log_.Add("RequestNewObjectLayout"); }

    // IOleInPlaceSite
    STDMETHODIMP GetWindow(HWND* window) override {
        *window = window_;
        return Answer("GetWindow");
    }
    STDMETHODIMP ContextSensitiveHelp(BOOL) override { return Unexpected("ContextSensitiveHelp"); }
    STDMETHODIMP CanInPlaceActivate() override { return Answer("CanInPlaceActivate", S_FALSE); }
    STDMETHODIMP OnInPlaceActivate() override;
    STDMETHODIMP OnUIActivate() override;
    STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, LPRECT where,
                                  LPRECT visible, LPOLEINPLACEFRAMEINFO info) override;
    STDMETHODIMP Scroll(SIZE) override { return Unexpected("Scroll"); }
    STDMETHODIMP OnUIDeactivate(BOOL undoable) override;
    STDMETHODIMP OnInPlaceDeactivate() override;
    STDMETHODIMP DiscardUndoState() override { return Unexpected("DiscardUndoState"); }
    STDMETHODIMP DeactivateAndUndo() override { return Unexpected("DeactivateAndUndo"); }
    STDMETHODIMP OnPosRectChange(LPCRECT) override { return Answer("OnPosRectChange"); }

    // IOleControlSite
    STDMETHODIMP OnControlInfoChanged() override { return Answer("OnControlInfoChanged"); }
    STDMETHODIMP LockInPlaceActive(BOOL) override { return Unexpected("LockInPlaceActive"); }
    STDMETHODIMP GetExtendedControl(IDispatch**) override { return log_.Add("GetExtendedControl"); }
    STDMETHODIMP TransformCoords(POINTL*, POINTF*, DWORD) override { return Unexpected("TransformCoords"); }
    STDMETHODIMP TranslateAccelerator(MSG*, DWORD modifiers) override {
        return Answer("TranslateAccelerator(" + std::to_string(modifiers) + ")", S_FALSE);
    }
    STDMETHODIMP OnFocus(BOOL gotFocus) override {
        return Answer(gotFocus ? "OnFocus(true)" : "OnFocus(false)");
    }
    STDMETHODIMP ShowPropertyFrame() override { return Answer("ShowPropertyFrame"); }

    // IServiceProvider
    STDMETHODIMP QueryService(REFGUID service, REFIID iid, void** object) override {
        *object = nullptr;
        return service == IID_IInternetHostSecurityManager ? manager.QueryInterface(iid, object)
                                                           : E_NOINTERFACE;
    }

    // IDispatch: ambient properties
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override;

  protected:
    void* Find(REFIID iid) override;

  private:
    // Records the call, which fails when the test wants it to.
    HRESULT Answer(const std::string& call, HRESULT failure = E_FAIL) {
        return log_.Add(call, failing.contains(call) ? failure : S_OK);
    }
    // The control has no business with this callback.
    HRESULT Unexpected(const std::string& call) {
        ADD_FAILURE() << "unexpected callback " << call;
        return E_FAIL;
    }

    HWND window_;
    RecordingFrame& frame_;
    CallLog& log_;
    bool inPlaceActive_ = false;
    bool uiActive_ = false;
};
