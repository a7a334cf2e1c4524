#include "InPlaceFrame.h"

#include <utility>

using Microsoft::WRL::ComPtr;

ComPtr<InPlaceFrame> InPlaceFrame::Create(HWND window, StatusHandler showStatus) {
    return new InPlaceFrame(window, std::move(showStatus));
}

InPlaceFrame::InPlaceFrame(HWND window, StatusHandler showStatus)
    : window_(window), showStatus_(std::move(showStatus)) {}

STDMETHODIMP InPlaceFrame::QueryInterface(REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    if (iid != __uuidof(IUnknown) && iid != __uuidof(IOleWindow) && iid != __uuidof(IOleInPlaceUIWindow) &&
        iid != __uuidof(IOleInPlaceFrame)) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    *object = static_cast<IOleInPlaceFrame*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) InPlaceFrame::AddRef() noexcept {
    return ++references_;
}

STDMETHODIMP_(ULONG) InPlaceFrame::Release() noexcept {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP InPlaceFrame::GetWindow(HWND* window) noexcept {
    if (!window) return E_POINTER;
    *window = window_;
    return S_OK;
}

STDMETHODIMP InPlaceFrame::ContextSensitiveHelp(BOOL) noexcept {
    return S_OK;
}

STDMETHODIMP InPlaceFrame::GetBorder(LPRECT) noexcept {
    return INPLACE_E_NOTOOLSPACE;
}

STDMETHODIMP InPlaceFrame::RequestBorderSpace(LPCBORDERWIDTHS) noexcept {
    return INPLACE_E_NOTOOLSPACE;
}

STDMETHODIMP InPlaceFrame::SetBorderSpace(LPCBORDERWIDTHS widths) noexcept {
    return widths ? INPLACE_E_NOTOOLSPACE : S_OK;
}

STDMETHODIMP InPlaceFrame::SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) noexcept {
    activeObject_ = object;
    return S_OK;
}

STDMETHODIMP InPlaceFrame::InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) noexcept {
    return E_NOTIMPL;
}

STDMETHODIMP InPlaceFrame::SetMenu(HMENU, HOLEMENU, HWND) noexcept {
    return S_OK;
}

STDMETHODIMP InPlaceFrame::RemoveMenus(HMENU) noexcept {
    return S_OK;
}

STDMETHODIMP InPlaceFrame::SetStatusText(LPCOLESTR text) noexcept try {
    showStatus_(text ? text : L"");
    return S_OK;
} catch (...) {
    return E_FAIL;
}

STDMETHODIMP InPlaceFrame::EnableModeless(BOOL) noexcept {
    return S_OK;
}

STDMETHODIMP InPlaceFrame::TranslateAccelerator(LPMSG, WORD) noexcept {
    return S_FALSE;
}
