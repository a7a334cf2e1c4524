#include "Container.h"

#include <comutil.h>
#include <olectl.h>

#include <utility>

using Microsoft::WRL::ComPtr;

namespace {

constexpr int kHimetricPerInch = 2540;

// Screen resolution, for the conversion between pixels and the 0.01 mm that OLE measures in.
SIZE PixelsPerInch() {
    const HDC screen = GetDC(nullptr);
    const SIZE dpi{GetDeviceCaps(screen, LOGPIXELSX), GetDeviceCaps(screen, LOGPIXELSY)};
    ReleaseDC(nullptr, screen);
    return dpi;
}

}  // namespace

ComPtr<Container> Container::Create(HWND frame, HWND pane, InPlaceFrame::StatusHandler showStatus) {
    return new Container(frame, pane, InPlaceFrame::Create(frame, std::move(showStatus)));
}

Container::Container(HWND frame, HWND pane, ComPtr<InPlaceFrame> inPlaceFrame)
    : frame_(frame), pane_(pane), inPlaceFrame_(std::move(inPlaceFrame)) {}

HRESULT Container::CreateControl(const CLSID& clsid) {
    HRESULT result = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object_));
    if (FAILED(result)) return result;
    object_.As(&automation_);

    // Some controls need their site to load, the others expect to be loaded first.
    DWORD misc = 0;
    object_->GetMiscStatus(DVASPECT_CONTENT, &misc);
    const bool siteFirst = misc & OLEMISC_SETCLIENTSITEFIRST;
    if (siteFirst) object_->SetClientSite(this);

    ComPtr<IPersistStreamInit> persist;
    if (SUCCEEDED(object_.As(&persist))) persist->InitNew();
    if (!siteFirst) object_->SetClientSite(this);
    OleSetContainedObject(object_.Get(), TRUE);

    Resize();
    result = DoVerb(OLEIVERB_INPLACEACTIVATE);
    if (FAILED(result)) Close();
    return result;
}

HRESULT Container::DoVerb(LONG verb) {
    if (!object_) return E_UNEXPECTED;
    const ComPtr<IOleObject> keepAlive = object_;
    const RECT rect = PaneRect();
    return keepAlive->DoVerb(verb, nullptr, this, 0, pane_, &rect);
}

HRESULT Container::ShowProperties() {
    if (!object_) return E_UNEXPECTED;
    if (SUCCEEDED(DoVerb(OLEIVERB_PROPERTIES))) return S_OK;

    // The control has pages but leaves it to its host to show them.
    ComPtr<ISpecifyPropertyPages> specify;
    HRESULT result = object_.As(&specify);
    if (FAILED(result)) return result;
    CAUUID pages{};
    result = specify->GetPages(&pages);
    if (FAILED(result)) return result;
    _bstr_t title;
    LPOLESTR name = nullptr;
    if (SUCCEEDED(object_->GetUserType(USERCLASSTYPE_SHORT, &name))) {
        title = name;
        CoTaskMemFree(name);
    }
    ComPtr<IUnknown> control = object_;
    result = OleCreatePropertyFrame(frame_, 0, 0, title, 1, control.GetAddressOf(), pages.cElems,
                                    pages.pElems, LOCALE_USER_DEFAULT, 0, nullptr);
    CoTaskMemFree(pages.pElems);
    return result;
}

void Container::Resize() {
    if (!object_) return;
    const RECT rect = PaneRect();
    const SIZE dpi = PixelsPerInch();
    SIZEL extent{MulDiv(rect.right, kHimetricPerInch, dpi.cx), MulDiv(rect.bottom, kHimetricPerInch, dpi.cy)};
    object_->SetExtent(DVASPECT_CONTENT, &extent);
    if (inPlaceObject_) inPlaceObject_->SetObjectRects(&rect, &rect);
}

void Container::Close() {
    // The control may call back from any of these; from here on it finds an empty container.
    automation_.Reset();
    const auto inPlaceObject = std::exchange(inPlaceObject_, nullptr);
    const auto object = std::exchange(object_, nullptr);
    if (inPlaceObject) inPlaceObject->InPlaceDeactivate();
    if (object) {
        object->Close(OLECLOSE_NOSAVE);
        object->SetClientSite(nullptr);
    }
}

bool Container::TranslateKey(MSG& message) const {
    if (message.message < WM_KEYFIRST || message.message > WM_KEYLAST) return false;
    if (!IsChild(pane_, message.hwnd)) return false;
    const auto active = inPlaceFrame_->ActiveObject();
    return active && active->TranslateAccelerator(&message) == S_OK;
}

void Container::OnFrameActivate(bool active) const {
    if (const auto object = inPlaceFrame_->ActiveObject()) object->OnFrameWindowActivate(active);
}

RECT Container::PaneRect() const {
    RECT rect{};
    GetClientRect(pane_, &rect);
    return rect;
}

STDMETHODIMP Container::QueryInterface(REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    if (iid == __uuidof(IUnknown) || iid == __uuidof(IOleClientSite)) {
        *object = static_cast<IOleClientSite*>(this);
    } else if (iid == __uuidof(IOleWindow) || iid == __uuidof(IOleInPlaceSite)) {
        *object = static_cast<IOleInPlaceSite*>(this);
    } else if (iid == __uuidof(IOleControlSite)) {
        *object = static_cast<IOleControlSite*>(this);
    } else if (iid == __uuidof(IDispatch)) {
        *object = static_cast<IDispatch*>(this);
    } else {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) Container::AddRef() noexcept {
    return ++references_;
}

STDMETHODIMP_(ULONG) Container::Release() noexcept {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP Container::SaveObject() noexcept {
    return E_NOTIMPL;
}

STDMETHODIMP Container::GetMoniker(DWORD, DWORD, IMoniker** moniker) noexcept {
    // A browser would name its page here; this host has no address of its own.
    if (moniker) *moniker = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP Container::GetContainer(IOleContainer** container) noexcept {
    if (container) *container = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP Container::ShowObject() noexcept {
    return S_OK;
}

STDMETHODIMP Container::OnShowWindow(BOOL) noexcept {
    return S_OK;
}

STDMETHODIMP Container::RequestNewObjectLayout() noexcept {
    return E_NOTIMPL;
}

STDMETHODIMP Container::GetWindow(HWND* window) noexcept {
    if (!window) return E_POINTER;
    *window = pane_;
    return S_OK;
}

STDMETHODIMP Container::ContextSensitiveHelp(BOOL) noexcept {
    return S_OK;
}

STDMETHODIMP Container::CanInPlaceActivate() noexcept {
    return S_OK;
}

STDMETHODIMP Container::OnInPlaceActivate() noexcept {
    return object_ ? object_.As(&inPlaceObject_) : S_OK;
}

STDMETHODIMP Container::OnUIActivate() noexcept {
    return S_OK;
}

STDMETHODIMP Container::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                         LPRECT position, LPRECT clip, LPOLEINPLACEFRAMEINFO info) noexcept {
    if (!frame || !document || !position || !clip || !info) return E_POINTER;
    inPlaceFrame_.CopyTo(frame);
    *document = nullptr;
    *position = PaneRect();
    *clip = *position;
    info->fMDIApp = FALSE;
    info->hwndFrame = frame_;
    info->haccel = nullptr;
    info->cAccelEntries = 0;
    return S_OK;
}

STDMETHODIMP Container::Scroll(SIZE) noexcept {
    return E_NOTIMPL;
}

STDMETHODIMP Container::OnUIDeactivate(BOOL) noexcept {
    return S_OK;
}

STDMETHODIMP Container::OnInPlaceDeactivate() noexcept {
    inPlaceObject_.Reset();
    return S_OK;
}

STDMETHODIMP Container::DiscardUndoState() noexcept {
    return S_OK;
}

STDMETHODIMP Container::DeactivateAndUndo() noexcept {
    return inPlaceObject_ ? inPlaceObject_->UIDeactivate() : S_OK;
}

STDMETHODIMP Container::OnPosRectChange(LPCRECT position) noexcept {
    if (!position) return E_POINTER;
    // The control may choose its size; what does not fit into the pane is cut off.
    const RECT clip = PaneRect();
    return inPlaceObject_ ? inPlaceObject_->SetObjectRects(position, &clip) : E_UNEXPECTED;
}

STDMETHODIMP Container::OnControlInfoChanged() noexcept {
    return S_OK;
}

STDMETHODIMP Container::LockInPlaceActive(BOOL) noexcept {
    return S_OK;
}

STDMETHODIMP Container::GetExtendedControl(IDispatch** extended) noexcept {
    if (extended) *extended = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP Container::TransformCoords(POINTL* himetric, POINTF* container, DWORD flags) noexcept {
    if (!himetric || !container) return E_POINTER;
    const SIZE dpi = PixelsPerInch();
    if (flags & XFORMCOORDS_HIMETRICTOCONTAINER) {
        container->x = static_cast<float>(himetric->x) * static_cast<float>(dpi.cx) / kHimetricPerInch;
        container->y = static_cast<float>(himetric->y) * static_cast<float>(dpi.cy) / kHimetricPerInch;
    } else if (flags & XFORMCOORDS_CONTAINERTOHIMETRIC) {
        himetric->x = static_cast<LONG>(container->x * kHimetricPerInch / static_cast<float>(dpi.cx));
        himetric->y = static_cast<LONG>(container->y * kHimetricPerInch / static_cast<float>(dpi.cy));
    } else {
        return E_INVALIDARG;
    }
    return S_OK;
}

STDMETHODIMP Container::TranslateAccelerator(MSG* message, DWORD) noexcept {
    // Tab leads out of the control to its neighbours in the window.
    if (!message || message->message != WM_KEYDOWN || message->wParam != VK_TAB) return S_FALSE;
    const bool backwards = GetKeyState(VK_SHIFT) < 0;
    SetFocus(GetNextDlgTabItem(frame_, GetFocus(), backwards));
    return S_OK;
}

STDMETHODIMP Container::OnFocus(BOOL) noexcept {
    return S_OK;
}

STDMETHODIMP Container::ShowPropertyFrame() noexcept {
    return E_NOTIMPL;
}

STDMETHODIMP Container::GetTypeInfoCount(UINT* count) noexcept {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
}

STDMETHODIMP Container::GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept {
    if (info) *info = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP Container::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept {
    return E_NOTIMPL;
}

STDMETHODIMP Container::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                               UINT*) noexcept {
    if (!(flags & DISPATCH_PROPERTYGET)) return DISP_E_MEMBERNOTFOUND;
    if (!result) return E_POINTER;
    VariantInit(result);

    const auto answer = [result](bool value) {
        result->vt = VT_BOOL;
        result->boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    };
    const auto answerColor = [result](int systemColor) {
        result->vt = VT_I4;
        result->lVal = static_cast<LONG>(GetSysColor(systemColor));
        return S_OK;
    };
    switch (id) {
        case DISPID_AMBIENT_USERMODE:
            return answer(true);
        case DISPID_AMBIENT_UIDEAD:
        case DISPID_AMBIENT_SHOWGRABHANDLES:
        case DISPID_AMBIENT_SHOWHATCHING:
        case DISPID_AMBIENT_MESSAGEREFLECT:
            return answer(false);
        case DISPID_AMBIENT_BACKCOLOR:
            return answerColor(COLOR_BTNFACE);
        case DISPID_AMBIENT_FORECOLOR:
            return answerColor(COLOR_BTNTEXT);
        case DISPID_AMBIENT_LOCALEID:
            result->vt = VT_I4;
            result->lVal = static_cast<LONG>(GetUserDefaultLCID());
            return S_OK;
        default:
            return DISP_E_MEMBERNOTFOUND;
    }
}
