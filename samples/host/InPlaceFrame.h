#pragma once

#include <windows.h>

#include <oleidl.h>
#include <wrl/client.h>

#include <atomic>
#include <functional>
#include <string>

/// The host's top-level window as a control sees it: remembers which object is active, so that the keyboard
/// can be offered to it, and shows status texts. It has no room for toolbars and merges no menus.
class InPlaceFrame final : public IOleInPlaceFrame {
  public:
    using StatusHandler = std::function<void(const std::wstring& text)>;

    static Microsoft::WRL::ComPtr<InPlaceFrame> Create(HWND window, StatusHandler showStatus);

    /// Null when no object is active.
    Microsoft::WRL::ComPtr<IOleInPlaceActiveObject> ActiveObject() const { return activeObject_; }

    /// IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override;
    STDMETHODIMP_(ULONG) Release() noexcept override;

    /// IOleWindow
    STDMETHODIMP GetWindow(HWND* window) noexcept override;
    STDMETHODIMP ContextSensitiveHelp(BOOL enter) noexcept override;

    /// IOleInPlaceUIWindow
    STDMETHODIMP GetBorder(LPRECT border) noexcept override;
    STDMETHODIMP RequestBorderSpace(LPCBORDERWIDTHS widths) noexcept override;
    STDMETHODIMP SetBorderSpace(LPCBORDERWIDTHS widths) noexcept override;
    STDMETHODIMP SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR name) noexcept override;

    /// IOleInPlaceFrame
    STDMETHODIMP InsertMenus(HMENU shared, LPOLEMENUGROUPWIDTHS widths) noexcept override;
    STDMETHODIMP SetMenu(HMENU shared, HOLEMENU menu, HWND object) noexcept override;
    STDMETHODIMP RemoveMenus(HMENU shared) noexcept override;
    STDMETHODIMP SetStatusText(LPCOLESTR text) noexcept override;
    STDMETHODIMP EnableModeless(BOOL enable) noexcept override;
    STDMETHODIMP TranslateAccelerator(LPMSG message, WORD id) noexcept override;

  private:
    InPlaceFrame(HWND window, StatusHandler showStatus);
    ~InPlaceFrame() = default;

    std::atomic<ULONG> references_{0};
    const HWND window_;
    const StatusHandler showStatus_;
    Microsoft::WRL::ComPtr<IOleInPlaceActiveObject> activeObject_;
};
