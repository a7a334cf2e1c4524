#include "framework/InPlace.h"

#include <ocidl.h>

#include <utility>

#include "framework/EntryPoint.h"
#include "framework/OleControl.h"

namespace framework {

using Microsoft::WRL::ComPtr;

namespace {

constexpr DWORD kChildStyle = WS_CHILD | WS_CLIPCHILDREN | WS_CLIPSIBLINGS;

// KEYMODIFIERS, for IOleControlSite::TranslateAccelerator.
constexpr DWORD kShift = 1;
constexpr DWORD kControl = 2;
constexpr DWORD kAlt = 4;

int Width(const RECT& rect) {
    return rect.right - rect.left;
}
int Height(const RECT& rect) {
    return rect.bottom - rect.top;
}

}  // namespace

void* InPlace::Find(REFIID iid) {
    if (iid == IID_IOleWindow) return static_cast<IOleWindow*>(static_cast<IOleInPlaceObject*>(this));
    return InterfacePart::Find(iid);
}

STDMETHODIMP InPlace::GetWindow(HWND* window) {
    if (window == nullptr) return E_POINTER;
    *window = m_owner.Handle();
    return *window != nullptr ? S_OK : E_FAIL;
}

STDMETHODIMP InPlace::ContextSensitiveHelp(BOOL) {
    return E_NOTIMPL;
}

// ---- Activation

HRESULT InPlace::Activate(bool userInterface) {
    m_owner.ReturnToPlace();
    HRESULT result = m_active ? S_OK : EnterContainer();
    if (FAILED(result)) return result;
    result = PlaceWindow();
    if (FAILED(result)) {
        Deactivate();
        return result;
    }
    return userInterface ? ActivateUserInterface() : S_OK;
}

HRESULT InPlace::EnterContainer() {
    ComPtr<IOleClientSite> clientSite = m_owner.Embedding().Site();
    ComPtr<IOleInPlaceSite> site;
    if (clientSite == nullptr || FAILED(clientSite.As(&site))) return E_FAIL;
    if (site->CanInPlaceActivate() != S_OK) return E_FAIL;
    const HRESULT result = site->OnInPlaceActivate();
    if (FAILED(result)) return result;
    m_site = site;
    m_active = true;
    return S_OK;
}

HRESULT InPlace::PlaceWindow() {
    const ComPtr<IOleInPlaceSite> site = m_site;
    HWND parent = nullptr;
    HRESULT result = site->GetWindow(&parent);
    if (FAILED(result)) return result;
    RECT position = {};
    RECT clip = {};
    OLEINPLACEFRAMEINFO frameInfo = {};
    frameInfo.cb = sizeof(frameInfo);
    ComPtr<IOleInPlaceFrame> frame;
    ComPtr<IOleInPlaceUIWindow> document;
    result = site->GetWindowContext(&frame, &document, &position, &clip, &frameInfo);
    if (FAILED(result)) return result;
    if (!m_active) return E_FAIL;  // the container changed its mind inside the calls
    m_frame = frame;
    m_document = document;

    if (!m_owner.HasWindow()) {
        if (!m_owner.Create(m_owner.Class().userType, kChildStyle, 0, position, parent)) return E_FAIL;
    } else if (GetParent(m_owner.Handle()) != parent) {
        // The control already lived elsewhere, perhaps in a hidden window of its own: move it over.
        const bool hidden = (GetWindowLongW(m_owner.Handle(), GWL_STYLE) & WS_CHILD) == 0;
        SetWindowLongW(m_owner.Handle(), GWL_STYLE, static_cast<LONG>(kChildStyle));
        SetWindowLongW(m_owner.Handle(), GWL_EXSTYLE, 0);
        if (SetParent(m_owner.Handle(), parent) == nullptr) return E_FAIL;
        if (hidden) result = m_owner.OnMovedIntoContainer();
        if (FAILED(result)) return result;
    }
    SetObjectRects(&position, &clip);
    if (m_owner.HasWindow()) ShowWindow(m_owner.Handle(), SW_SHOWNA);
    if (const ComPtr<IOleClientSite> clientSite = m_owner.Embedding().Site()) clientSite->ShowObject();
    return m_active && m_owner.HasWindow() ? S_OK : E_FAIL;
}

HRESULT InPlace::ActivateUserInterface() {
    if (!m_userInterfaceActive) {
        m_userInterfaceActive = true;
        const ComPtr<IOleInPlaceSite> site = m_site;
        const HRESULT result = site->OnUIActivate();
        if (FAILED(result)) {
            m_userInterfaceActive = false;
            return result;
        }
        const ComPtr<IOleInPlaceFrame> frame = m_frame;
        const ComPtr<IOleInPlaceUIWindow> document = m_document;
        if (frame != nullptr) frame->SetActiveObject(this, m_owner.Class().userType);
        if (document != nullptr) document->SetActiveObject(this, m_owner.Class().userType);
        if (frame != nullptr) frame->SetBorderSpace(nullptr);
        if (document != nullptr) document->SetBorderSpace(nullptr);
    }
    const HWND window = m_owner.Handle();
    const HWND focus = GetFocus();
    if (window != nullptr && focus != window && !IsChild(window, focus)) SetFocus(window);
    return S_OK;
}

void InPlace::DeactivateUserInterface() {
    if (!m_userInterfaceActive) return;
    m_userInterfaceActive = false;
    const ComPtr<IOleInPlaceSite> site = m_site;
    const ComPtr<IOleInPlaceFrame> frame = m_frame;
    const ComPtr<IOleInPlaceUIWindow> document = m_document;
    if (document != nullptr) document->SetActiveObject(nullptr, nullptr);
    if (frame != nullptr) frame->SetActiveObject(nullptr, nullptr);
    if (site != nullptr) site->OnUIDeactivate(FALSE);
}

void InPlace::Deactivate() {
    m_owner.ReturnToPlace();
    if (m_active) {
        DeactivateUserInterface();
        m_active = false;
        m_frame = nullptr;
        m_document = nullptr;
        const ComPtr<IOleInPlaceSite> site = std::exchange(m_site, nullptr);
        m_owner.DestroyWindow();
        TellDeactivated(site.Get());
    } else {
        m_owner.DestroyWindow();  // a hidden window of its own
    }
}

HRESULT InPlace::Hide() {
    m_owner.ReturnToPlace();
    DeactivateUserInterface();
    if (m_owner.HasWindow()) ShowWindow(m_owner.Handle(), SW_HIDE);
    return S_OK;
}

void InPlace::Abandon() {
    m_active = false;
    m_userInterfaceActive = false;
    m_site = nullptr;
    m_frame = nullptr;
    m_document = nullptr;
}

void InPlace::OnWindowDestroyed() {
    if (!m_active) return;
    // The container destroyed its window, and ours with it, instead of deactivating first.
    DeactivateUserInterface();
    const ComPtr<IOleInPlaceSite> site = m_site;
    Abandon();
    TellDeactivated(site.Get());
}

// Inside of the events that the window's end causes, the container may have taken its site away: from then on
// it must not be called any more.
void InPlace::TellDeactivated(IOleInPlaceSite* site) {
    if (site != nullptr && m_owner.Embedding().Site() != nullptr) site->OnInPlaceDeactivate();
}

void InPlace::ShowStatusText(const std::wstring& text) {
    const ComPtr<IOleInPlaceFrame> frame = m_frame;
    if (frame != nullptr) frame->SetStatusText(text.c_str());
}

InPlace::Modal::Modal(InPlace& inPlace) : m_frame(inPlace.m_frame) {
    if (m_frame != nullptr) m_frame->EnableModeless(FALSE);
}

InPlace::Modal::~Modal() {
    if (m_frame != nullptr) m_frame->EnableModeless(TRUE);
}

// ---- IOleInPlaceObject

STDMETHODIMP InPlace::InPlaceDeactivate() {
    return GuardedCall(m_owner, [&] {
        if (m_active) Deactivate();
        return S_OK;
    });
}

STDMETHODIMP InPlace::UIDeactivate() {
    return GuardedCall(m_owner, [&] {
        DeactivateUserInterface();
        return S_OK;
    });
}

STDMETHODIMP InPlace::SetObjectRects(LPCRECT position, LPCRECT clip) {
    if (position == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&] {
        m_position = *position;
        m_clip = clip != nullptr ? std::optional(*clip) : std::nullopt;
        m_placedInAbsence = m_owner.IsPlacedElsewhere();
        if (!m_placedInAbsence) PlaceAgain();
        return S_OK;
    });
}

void InPlace::PlaceAfterAbsence() {
    if (std::exchange(m_placedInAbsence, false)) PlaceAgain();
}

void InPlace::PlaceAgain() {
    const HWND window = m_owner.Handle();
    if (window == nullptr) return;
    // Show only what lies inside the container's clipping rectangle, without moving the picture. Where
    // the two do not meet, the intersection is empty, and so is the region.
    HRGN region = nullptr;
    if (m_clip && !IsRectEmpty(&*m_clip)) {  // an empty one is how some containers say "none"
        RECT visible;
        IntersectRect(&visible, &m_position, &*m_clip);
        if (!EqualRect(&visible, &m_position)) {
            OffsetRect(&visible, -m_position.left, -m_position.top);
            region = CreateRectRgnIndirect(&visible);
        }
    }
    SetWindowRgn(window, region, TRUE);  // the system takes the region over
    SetWindowPos(window, nullptr, m_position.left, m_position.top, Width(m_position), Height(m_position),
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

STDMETHODIMP InPlace::ReactivateAndUndo() {
    return INPLACE_E_NOTUNDOABLE;
}

// ---- IOleInPlaceActiveObject

STDMETHODIMP InPlace::TranslateAccelerator(LPMSG message) {
    if (message == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&]() -> HRESULT {
        if (m_owner.OnTranslateAccelerator(*message)) return S_OK;
        ComPtr<IOleControlSite> controlSite;
        ComPtr<IOleClientSite> site = m_owner.Embedding().Site();
        if (site == nullptr || FAILED(site.As(&controlSite))) return S_FALSE;
        DWORD modifiers = 0;
        if (GetKeyState(VK_SHIFT) < 0) modifiers |= kShift;
        if (GetKeyState(VK_CONTROL) < 0) modifiers |= kControl;
        if (GetKeyState(VK_MENU) < 0) modifiers |= kAlt;
        return controlSite->TranslateAccelerator(message, modifiers);
    });
}

STDMETHODIMP InPlace::OnFrameWindowActivate(BOOL) {
    return S_OK;
}
STDMETHODIMP InPlace::OnDocWindowActivate(BOOL) {
    return S_OK;
}
STDMETHODIMP InPlace::ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) {
    return S_OK;
}
STDMETHODIMP InPlace::EnableModeless(BOOL) {
    return S_OK;
}

// ---- From the window

void InPlace::OnFocus(bool gained) {
    ComPtr<IOleControlSite> controlSite;
    ComPtr<IOleClientSite> site = m_owner.Embedding().Site();
    if (site != nullptr && SUCCEEDED(site.As(&controlSite))) controlSite->OnFocus(gained);
}

void InPlace::OnMouseActivate() {
    if (m_active) ActivateUserInterface();
}

}  // namespace framework
