#include "framework/OleControl.h"

#include <oleauto.h>
#include <olectl.h>

#include "framework/EntryPoint.h"
#include "framework/ScopedVariant.h"
#include "util/FpuGuard.h"

namespace framework {

namespace {
constexpr LONG kDestroying = 0x40000000;  // references taken and dropped during destruction never reach zero
}

COleControl::COleControl(const ControlClass& controlClass, const DispatchTable& members)
    : m_class(controlClass),
      m_members(members),
      m_oleObject(*this),
      m_inPlace(*this),
      m_view(*this),
      m_persistence(*this),
      m_connectionPoints(*this, controlClass.eventInterface),
      m_classInfo(*this),
      m_eventGate(*this) {}

COleControl::~COleControl() = default;

STDMETHODIMP COleControl::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    void* found = nullptr;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == m_class.dispatchInterface) {
        found = static_cast<IDispatch*>(this);
    }
    if (found == nullptr) found = m_oleObject.Find(iid);
    if (found == nullptr) found = m_inPlace.Find(iid);
    if (found == nullptr) found = m_view.Find(iid);
    if (found == nullptr) found = m_persistence.Find(iid);
    if (found == nullptr) found = m_connectionPoints.Find(iid);
    if (found == nullptr) found = m_classInfo.Find(iid);
    if (found == nullptr) found = OnQueryInterface(iid);
    *object = found;
    if (found == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) COleControl::AddRef() {
    return InterlockedIncrement(&m_references);
}

STDMETHODIMP_(ULONG) COleControl::Release() {
    const LONG left = InterlockedDecrement(&m_references);
    if (left == 0) FinalRelease();
    return left;
}

void COleControl::FinalRelease() {
    const util::FpuGuard fpu;  // destructors compute and log as well
    m_references = kDestroying;
    Guarded([&] {
        m_inPlace.Abandon();
        DestroyWindow();
        return S_OK;
    });
    delete this;
}

void* COleControl::OnQueryInterface(REFIID) {
    return nullptr;
}

STDMETHODIMP COleControl::GetTypeInfoCount(UINT* count) {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
}

STDMETHODIMP COleControl::GetTypeInfo(UINT index, LCID, ITypeInfo** info) {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return Guarded([&] { return m_classInfo.GetTypeInfo(m_class.dispatchInterface, info); });
}

STDMETHODIMP COleControl::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    if (names == nullptr || ids == nullptr) return E_POINTER;
    if (count == 0) return S_OK;
    return Guarded([&]() -> HRESULT {
        if (count == 1 && names[0] != nullptr) {
            const DispatchMember* member = m_members.Find(names[0]);
            ids[0] = member != nullptr ? member->id : DISPID_UNKNOWN;
            return member != nullptr ? S_OK : DISP_E_UNKNOWNNAME;
        }
        // Names of parameters follow: only the type library has them.
        Microsoft::WRL::ComPtr<ITypeInfo> info;
        const HRESULT result = m_classInfo.GetTypeInfo(m_class.dispatchInterface, &info);
        return FAILED(result) ? result : DispGetIDsOfNames(info.Get(), names, count, ids);
    });
}

STDMETHODIMP COleControl::Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                                 VARIANT* result, EXCEPINFO* exception, UINT* argumentError) {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    return GuardedCall(*this, [&] {
        const HRESULT invoked =
            InvokeMember(m_members, *this, id, locale, flags, parameters, result, exception, argumentError);
        if (SUCCEEDED(invoked) && (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
            NotifyPropertyChanged(id);
        }
        return invoked;
    });
}

void COleControl::NotifyPropertyChanged(DISPID id) {
    m_connectionPoints.PropertyNotifications().ForEach<IPropertyNotifySink>([&](IPropertyNotifySink& sink) {
        const util::HostFpu fpu;
        sink.OnChanged(id);
    });
}

void COleControl::InvalidateControl() {
    if (HasWindow()) {
        InvalidateRect(Handle(), nullptr, FALSE);
    } else {
        m_view.NotifyViewChange();
    }
}

bool COleControl::CreateHiddenWindow() {
    const RECT bounds = {0, 0, m_class.initialSize.cx, m_class.initialSize.cy};
    return HasWindow() || Create(m_class.userType, WS_POPUP | WS_CLIPCHILDREN | WS_CLIPSIBLINGS,
                                 WS_EX_TOOLWINDOW, bounds, nullptr);
}

namespace {

class Loading {
  public:
    explicit Loading(bool& flag) : m_flag(flag) { m_flag = true; }
    ~Loading() { m_flag = false; }
    Loading(const Loading&) = delete;
    Loading& operator=(const Loading&) = delete;

  private:
    bool& m_flag;
};

}  // namespace

HRESULT COleControl::LoadProperty(const DispatchMember& member, const VARIANT& value) {
    ScopedVariant coerced;
    const HRESULT result = CoerceArgument(coerced, value, member.type, LOCALE_INVARIANT);
    if (FAILED(result)) return result;
    return Guarded([&] {
        member.store(*this, coerced);
        if (member.changed == nullptr) return S_OK;
        if (member.handlerNeedsWindow && !HasWindow()) {
            m_postponedHandlers.push_back(&member);
        } else {
            const Loading loading(m_loading);
            member.changed(*this);
        }
        return S_OK;
    });
}

void COleControl::RunPostponedHandlers() {
    // The values came from the container: running their handlers late is no change that it should save.
    const bool modified = m_modified;
    const auto handlers = std::exchange(m_postponedHandlers, {});
    for (const DispatchMember* member : handlers)
        member->changed(*this);
    m_modified = modified;
}

void COleControl::OnDraw(HDC dc, const RECT& bounds) {
    FillRect(dc, &bounds, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
}

void COleControl::OnAmbientPropertyChange(DISPID) {}
void COleControl::OnSaveProperty(const DispatchMember&, VARIANT&) {}

bool COleControl::OnTranslateAccelerator(const MSG&) {
    return false;
}

void COleControl::Paint() {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(Handle(), &paint);
    if (dc == nullptr) return;
    // Painting must end whatever the drawing does, or the window asks for it for ever.
    Guarded([&] {
        RECT bounds;
        GetClientRect(Handle(), &bounds);
        OnDraw(dc, bounds);
        return S_OK;
    });
    EndPaint(Handle(), &paint);
}

LRESULT COleControl::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_PAINT:
            Paint();
            return 0;
        case WM_PRINTCLIENT: {  // of hosts that print or copy their windows
            RECT bounds;
            GetClientRect(Handle(), &bounds);
            OnDraw(reinterpret_cast<HDC>(wParam), bounds);
            return 0;
        }
        case WM_ERASEBKGND:
            return TRUE;  // OnDraw covers everything
        case WM_SETFOCUS:
            m_inPlace.OnFocus(true);
            return CWnd::OnMessage(message, wParam, lParam);
        case WM_KILLFOCUS:
            m_inPlace.OnFocus(false);
            return CWnd::OnMessage(message, wParam, lParam);
        case WM_MOUSEACTIVATE:
            m_inPlace.OnMouseActivate();
            return MA_ACTIVATE;
        case WM_DESTROY:
            m_inPlace.OnWindowDestroyed();
            return CWnd::OnMessage(message, wParam, lParam);
        default:
            return CWnd::OnMessage(message, wParam, lParam);
    }
}

}  // namespace framework
