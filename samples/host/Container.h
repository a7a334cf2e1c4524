#pragma once

#include <windows.h>

#include <ocidl.h>
#include <oleidl.h>
#include <wrl/client.h>

#include <atomic>

#include "InPlaceFrame.h"

/// The place a control lives in: creates it, activates it inside a window of the host, keeps it at that
/// window's size and takes it down again. To the control it is the client site, the in-place site, the
/// control site and the source of ambient properties.
///
/// All calls come from the thread that owns the windows. The owner calls Close() before it lets go; the
/// control may hold on to its site for a while longer.
class Container final : public IOleClientSite,
                        public IOleInPlaceSite,
                        public IOleControlSite,
                        public IDispatch {
  public:
    /// The control's window becomes a child of `pane`; `frame` is the top-level window around it.
    static Microsoft::WRL::ComPtr<Container> Create(HWND frame, HWND pane,
                                                    InPlaceFrame::StatusHandler showStatus);

    HRESULT CreateControl(const CLSID& clsid);
    HRESULT DoVerb(LONG verb);
    HRESULT ShowProperties();
    void Resize();  // the pane has a new size
    void Close();

    /// Offers a keyboard message to the active control; true when it took it.
    bool TranslateKey(MSG& message) const;
    void OnFrameActivate(bool active) const;

    /// Null when there is no control.
    IUnknown* Control() const { return object_.Get(); }
    IDispatch* Automation() const { return automation_.Get(); }

    /// IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override;
    STDMETHODIMP_(ULONG) Release() noexcept override;

    /// IOleClientSite
    STDMETHODIMP SaveObject() noexcept override;
    STDMETHODIMP GetMoniker(DWORD assign, DWORD which, IMoniker** moniker) noexcept override;
    STDMETHODIMP GetContainer(IOleContainer** container) noexcept override;
    STDMETHODIMP ShowObject() noexcept override;
    STDMETHODIMP OnShowWindow(BOOL show) noexcept override;
    STDMETHODIMP RequestNewObjectLayout() noexcept override;

    /// IOleInPlaceSite
    STDMETHODIMP GetWindow(HWND* window) noexcept override;
    STDMETHODIMP ContextSensitiveHelp(BOOL enter) noexcept override;
    STDMETHODIMP CanInPlaceActivate() noexcept override;
    STDMETHODIMP OnInPlaceActivate() noexcept override;
    STDMETHODIMP OnUIActivate() noexcept override;
    STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, LPRECT position,
                                  LPRECT clip, LPOLEINPLACEFRAMEINFO info) noexcept override;
    STDMETHODIMP Scroll(SIZE extent) noexcept override;
    STDMETHODIMP OnUIDeactivate(BOOL undoable) noexcept override;
    STDMETHODIMP OnInPlaceDeactivate() noexcept override;
    STDMETHODIMP DiscardUndoState() noexcept override;
    STDMETHODIMP DeactivateAndUndo() noexcept override;
    STDMETHODIMP OnPosRectChange(LPCRECT position) noexcept override;

    /// IOleControlSite
    STDMETHODIMP OnControlInfoChanged() noexcept override;
    STDMETHODIMP LockInPlaceActive(BOOL lock) noexcept override;
    STDMETHODIMP GetExtendedControl(IDispatch** extended) noexcept override;
    STDMETHODIMP TransformCoords(POINTL* himetric, POINTF* container, DWORD flags) noexcept override;
    STDMETHODIMP TranslateAccelerator(MSG* message, DWORD modifiers) noexcept override;
    STDMETHODIMP OnFocus(BOOL gotFocus) noexcept override;
    STDMETHODIMP ShowPropertyFrame() noexcept override;

    /// IDispatch: the ambient properties
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) noexcept override;
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                               DISPID* ids) noexcept override;
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* badArgument) noexcept override;

  private:
    Container(HWND frame, HWND pane, Microsoft::WRL::ComPtr<InPlaceFrame> inPlaceFrame);
    ~Container() = default;

    RECT PaneRect() const;

    std::atomic<ULONG> references_{0};
    const HWND frame_;
    const HWND pane_;
    const Microsoft::WRL::ComPtr<InPlaceFrame> inPlaceFrame_;
    Microsoft::WRL::ComPtr<IOleObject> object_;
    Microsoft::WRL::ComPtr<IDispatch> automation_;
    Microsoft::WRL::ComPtr<IOleInPlaceObject> inPlaceObject_;  // only while the control is in-place active
};
