#include "framework/OleObject.h"

#include <oleauto.h>
#include <olectl.h>

#include <cstring>
#include <vector>

#include "framework/EntryPoint.h"
#include "framework/Enumerator.h"
#include "framework/OleControl.h"
#include "framework/ScopedVariant.h"

namespace framework {

using Microsoft::WRL::ComPtr;

namespace {

constexpr int kHimetricPerInch = 2540;

struct ScreenResolution {
    int x = 96;
    int y = 96;
};

ScreenResolution GetScreenResolution() {
    ScreenResolution resolution;
    if (const HDC screen = GetDC(nullptr)) {
        resolution = {GetDeviceCaps(screen, LOGPIXELSX), GetDeviceCaps(screen, LOGPIXELSY)};
        ReleaseDC(nullptr, screen);
    }
    return resolution;
}

LPOLESTR TaskString(const wchar_t* text) {
    const std::size_t bytes = (std::wcslen(text) + 1) * sizeof(wchar_t);
    auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
    if (copy != nullptr) std::memcpy(copy, text, bytes);
    return copy;
}

struct Verb {
    LONG id;
    const wchar_t* name;
    DWORD flags;  // OLEVERBATTRIB
};
struct CopyVerb {
    static void Copy(OLEVERB& to, const Verb& from) { to = {from.id, TaskString(from.name), 0, from.flags}; }
};
using VerbEnumerator = Enumerator<IEnumOLEVERB, Verb, OLEVERB, CopyVerb>;

}  // namespace

SIZEL PixelsToHimetric(const SIZE& pixels) {
    const ScreenResolution resolution = GetScreenResolution();
    return {MulDiv(pixels.cx, kHimetricPerInch, resolution.x),
            MulDiv(pixels.cy, kHimetricPerInch, resolution.y)};
}

SIZE HimetricToPixels(const SIZEL& himetric) {
    const ScreenResolution resolution = GetScreenResolution();
    return {MulDiv(himetric.cx, resolution.x, kHimetricPerInch),
            MulDiv(himetric.cy, resolution.y, kHimetricPerInch)};
}

OleObject::OleObject(COleControl& owner)
    : InterfacePart(owner), m_extent(PixelsToHimetric(owner.Class().initialSize)) {}

// ---- The container's site

STDMETHODIMP OleObject::SetClientSite(IOleClientSite* site) {
    return GuardedCall(m_owner, [&] {
        if (site == nullptr) m_owner.InPlaceState().Deactivate();
        // The old site's last reference may call back: it goes when the new one is in place.
        const ComPtr<IOleClientSite> oldSite = std::exchange(m_site, site);
        const ComPtr<IDispatch> oldAmbient = std::exchange(m_ambient, nullptr);
        if (site == nullptr) return S_OK;
        m_wasContained = true;
        const ComPtr<IOleClientSite> newSite = site;  // while it is called, whatever it does
        ComPtr<IDispatch> ambient;
        if (SUCCEEDED(newSite.As(&ambient)) && m_site == newSite) {
            m_ambient = ambient;
            m_owner.OnAmbientPropertyChange(DISPID_UNKNOWN);
        }
        return S_OK;
    });
}

STDMETHODIMP OleObject::GetClientSite(IOleClientSite** site) {
    return site == nullptr ? E_POINTER : m_site.CopyTo(site);
}

bool OleObject::GetAmbient(DISPID id, VARTYPE type, VARIANT& value) const {
    const ComPtr<IDispatch> ambient = m_ambient;
    if (ambient == nullptr) return false;
    DISPPARAMS none = {};
    ScopedVariant raw;
    HRESULT result = ambient->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &raw,
                                     nullptr, nullptr);
    VariantInit(&value);
    if (SUCCEEDED(result)) result = VariantChangeType(&value, &raw, 0, type);
    return SUCCEEDED(result);
}

STDMETHODIMP OleObject::SetHostNames(LPCOLESTR, LPCOLESTR) {
    return S_OK;
}

STDMETHODIMP OleObject::Close(DWORD saveOption) {
    return GuardedCall(m_owner, [&] {
        m_owner.InPlaceState().Deactivate();
        if (saveOption != OLECLOSE_NOSAVE) SaveIfModified();
        NotifyClosed();
        return S_OK;
    });
}

void OleObject::SaveIfModified() {
    const ComPtr<IOleClientSite> site = m_site;
    if (site != nullptr && m_owner.IsModified()) site->SaveObject();
}

void OleObject::NotifyClosed() {
    if (const ComPtr<IOleAdviseHolder> holder = m_adviseHolder) holder->SendOnClose();
}

void OleObject::NotifySaved() {
    if (const ComPtr<IOleAdviseHolder> holder = m_adviseHolder) holder->SendOnSave();
}

// ---- Linking and data transfer: not what a live camera view is for

STDMETHODIMP OleObject::SetMoniker(DWORD, IMoniker*) {
    return E_NOTIMPL;
}

STDMETHODIMP OleObject::GetMoniker(DWORD, DWORD, IMoniker** moniker) {
    if (moniker != nullptr) *moniker = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP OleObject::InitFromData(IDataObject*, BOOL, DWORD) {
    return E_NOTIMPL;
}

STDMETHODIMP OleObject::GetClipboardData(DWORD, IDataObject** data) {
    if (data != nullptr) *data = nullptr;
    return E_NOTIMPL;
}

// ---- Verbs

STDMETHODIMP OleObject::DoVerb(LONG verb, LPMSG, IOleClientSite*, LONG, HWND parent, LPCRECT) {
    return GuardedCall(m_owner, [&]() -> HRESULT {
        InPlace& inPlace = m_owner.InPlaceState();
        switch (verb) {
            case OLEIVERB_PRIMARY:
            case OLEIVERB_SHOW:
            case OLEIVERB_UIACTIVATE:
                return inPlace.Activate(true);
            case OLEIVERB_INPLACEACTIVATE:
                return inPlace.Activate(false);
            case OLEIVERB_HIDE:
                return inPlace.Hide();
            case OLEIVERB_PROPERTIES:
                return ShowProperties(parent);
            case OLEIVERB_OPEN:
            case OLEIVERB_DISCARDUNDOSTATE:
                return E_NOTIMPL;
            default:
                // As required of unknown verbs: a positive one acts as the primary verb and says so.
                if (verb < 0) return E_NOTIMPL;
                const HRESULT result = inPlace.Activate(true);
                return FAILED(result) ? result : OLEOBJ_S_INVALIDVERB;
        }
    });
}

HRESULT OleObject::ShowProperties(HWND parent) {
    const ComPtr<IOleClientSite> site = m_site;
    ComPtr<IOleControlSite> controlSite;
    if (site != nullptr && SUCCEEDED(site.As(&controlSite)) && SUCCEEDED(controlSite->ShowPropertyFrame()))
        return S_OK;
    const InPlace::Modal modal(m_owner.InPlaceState());
    IUnknown* object = static_cast<IDispatch*>(&m_owner);
    CLSID page = m_owner.Class().propertyPage;
    return OleCreatePropertyFrame(parent, 0, 0, m_owner.Class().userType, 1, &object, 1, &page,
                                  LOCALE_USER_DEFAULT, 0, nullptr);
}

STDMETHODIMP OleObject::EnumVerbs(IEnumOLEVERB** verbs) {
    if (verbs == nullptr) return E_POINTER;
    *verbs = nullptr;
    return Guarded([&] {
        *verbs =
            VerbEnumerator::Create({{OLEIVERB_PROPERTIES, L"&Properties...", OLEVERBATTRIB_ONCONTAINERMENU}});
        return S_OK;
    });
}

STDMETHODIMP OleObject::Update() {
    return S_OK;
}
STDMETHODIMP OleObject::IsUpToDate() {
    return S_OK;
}

STDMETHODIMP OleObject::GetUserClassID(CLSID* clsid) {
    if (clsid == nullptr) return E_POINTER;
    *clsid = m_owner.Class().clsid;
    return S_OK;
}

STDMETHODIMP OleObject::GetUserType(DWORD, LPOLESTR* name) {
    if (name == nullptr) return E_POINTER;
    *name = TaskString(m_owner.Class().userType);
    return *name != nullptr ? S_OK : E_OUTOFMEMORY;
}

// ---- Size

STDMETHODIMP OleObject::SetExtent(DWORD aspect, SIZEL* extent) {
    if (extent == nullptr) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (extent->cx < 0 || extent->cy < 0) return E_INVALIDARG;
    return GuardedCall(m_owner, [&] {
        if (m_extent.cx == extent->cx && m_extent.cy == extent->cy) return S_OK;
        m_extent = *extent;
        m_owner.SetModifiedFlag();
        m_owner.View().NotifyViewChange();
        return S_OK;
    });
}

STDMETHODIMP OleObject::GetExtent(DWORD aspect, SIZEL* extent) {
    if (extent == nullptr) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    *extent = m_extent;
    return S_OK;
}

STDMETHODIMP OleObject::SetContentExtent(LPSIZEL extent) {
    return SetExtent(DVASPECT_CONTENT, extent);
}
STDMETHODIMP OleObject::GetContentExtent(LPSIZEL extent) {
    return GetExtent(DVASPECT_CONTENT, extent);
}

// ---- Advice

STDMETHODIMP OleObject::Advise(IAdviseSink* sink, DWORD* connection) {
    if (connection == nullptr) return E_POINTER;
    *connection = 0;
    if (m_adviseHolder == nullptr) {
        const HRESULT result = CreateOleAdviseHolder(&m_adviseHolder);
        if (FAILED(result)) return result;
    }
    return m_adviseHolder->Advise(sink, connection);
}

STDMETHODIMP OleObject::Unadvise(DWORD connection) {
    return m_adviseHolder == nullptr ? OLE_E_NOCONNECTION : m_adviseHolder->Unadvise(connection);
}

STDMETHODIMP OleObject::EnumAdvise(IEnumSTATDATA** enumerator) {
    if (enumerator == nullptr) return E_POINTER;
    *enumerator = nullptr;
    return m_adviseHolder == nullptr ? S_OK : m_adviseHolder->EnumAdvise(enumerator);
}

STDMETHODIMP OleObject::GetMiscStatus(DWORD aspect, DWORD* status) {
    if (status == nullptr) return E_POINTER;
    *status = aspect == DVASPECT_CONTENT ? m_owner.Class().miscStatus : 0;
    return S_OK;
}

STDMETHODIMP OleObject::SetColorScheme(LOGPALETTE*) {
    return E_NOTIMPL;
}

// ---- IOleControl

STDMETHODIMP OleObject::GetControlInfo(CONTROLINFO* info) {
    if (info == nullptr) return E_POINTER;
    info->hAccel = nullptr;
    info->cAccel = 0;
    info->dwFlags = 0;
    return S_OK;
}

STDMETHODIMP OleObject::OnMnemonic(MSG*) {
    return S_OK;
}

STDMETHODIMP OleObject::OnAmbientPropertyChange(DISPID id) {
    return GuardedCall(m_owner, [&] {
        m_owner.OnAmbientPropertyChange(id);
        return S_OK;
    });
}

STDMETHODIMP OleObject::FreezeEvents(BOOL freeze) {
    return GuardedCall(m_owner, [&] {
        if (freeze) {
            m_owner.Gate().Freeze();
        } else {
            m_owner.Gate().Thaw();
        }
        return S_OK;
    });
}

// ---- IQuickActivate

STDMETHODIMP OleObject::QuickActivate(QACONTAINER* container, QACONTROL* control) {
    if (container == nullptr || control == nullptr) return E_POINTER;
    const ULONG size = control->cbSize;
    if (container->cbSize < sizeof(QACONTAINER) || size < sizeof(QACONTROL)) return E_INVALIDARG;
    return GuardedCall(m_owner, [&] {
        *control = {};
        control->cbSize = size;
        SetClientSite(container->pClientSite);
        if (container->pAdviseSink != nullptr) {
            m_owner.View().SetAdvise(DVASPECT_CONTENT, 0, container->pAdviseSink);
        }
        ConnectionPointContainer& points = m_owner.ConnectionPoints();
        if (container->pUnkEventSink != nullptr) {
            points.Events().Advise(container->pUnkEventSink, &control->dwEventCookie);
        }
        if (container->pPropertyNotifySink != nullptr) {
            points.PropertyNotifications().Advise(container->pPropertyNotifySink,
                                                  &control->dwPropNotifyCookie);
        }
        control->dwMiscStatus = m_owner.Class().miscStatus;
        control->dwViewStatus = VIEWSTATUS_OPAQUE | VIEWSTATUS_SOLIDBKGND;
        return S_OK;
    });
}

}  // namespace framework
