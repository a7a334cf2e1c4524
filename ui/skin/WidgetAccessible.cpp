#include "ui/skin/WidgetAccessible.h"

#include <new>
#include <string>

#include "ui/skin/Widget.h"

namespace norix {
namespace {

HRESULT ToBstr(const std::wstring& text, BSTR* to) {
    *to = nullptr;
    if (text.empty()) return S_FALSE;
    *to = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *to ? S_OK : E_OUTOFMEMORY;
}

HRESULT ToVariant(LONG number, VARIANT* to) {
    to->vt = VT_I4;
    to->lVal = number;
    return S_OK;
}

}  // namespace

Microsoft::WRL::ComPtr<WidgetAccessible> WidgetAccessible::Make(Widget& widget) {
    Microsoft::WRL::ComPtr<IAccessible> system;
    if (FAILED(CreateStdAccessibleObject(widget.Window(), OBJID_CLIENT, IID_IAccessible,
                                         reinterpret_cast<void**>(system.GetAddressOf()))))
        return nullptr;
    Microsoft::WRL::ComPtr<WidgetAccessible> made;
    made.Attach(new (std::nothrow) WidgetAccessible(widget, std::move(system)));
    return made;
}

HRESULT WidgetAccessible::Find(const VARIANT& child, Widget** widget) const {
    if (!m_widget || !m_widget->Window()) return CO_E_OBJNOTCONNECTED;
    if (child.vt != VT_I4 || child.lVal != CHILDID_SELF) return E_INVALIDARG;
    *widget = m_widget;
    return S_OK;
}

// ---- IUnknown, IDispatch

STDMETHODIMP WidgetAccessible::QueryInterface(REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IDispatch && iid != IID_IAccessible) return E_NOINTERFACE;
    *object = static_cast<IAccessible*>(this);
    AddRef();
    return S_OK;
}
STDMETHODIMP_(ULONG) WidgetAccessible::AddRef() {
    return ++m_references;
}
STDMETHODIMP_(ULONG) WidgetAccessible::Release() {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
}
STDMETHODIMP WidgetAccessible::GetTypeInfoCount(UINT* count) {
    return m_system->GetTypeInfoCount(count);
}
STDMETHODIMP WidgetAccessible::GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) {
    return m_system->GetTypeInfo(index, locale, info);
}
STDMETHODIMP WidgetAccessible::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                             DISPID* ids) {
    return m_system->GetIDsOfNames(iid, names, count, locale, ids);
}
// Readers use the interface itself.
STDMETHODIMP WidgetAccessible::Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) {
    return E_NOTIMPL;
}

// ---- What is the widget's

STDMETHODIMP WidgetAccessible::get_accName(VARIANT child, BSTR* name) {
    if (!name) return E_POINTER;
    Widget* widget = nullptr;
    const HRESULT found = Find(child, &widget);
    return FAILED(found) ? found : ToBstr(widget->Name(), name);
}
STDMETHODIMP WidgetAccessible::get_accValue(VARIANT child, BSTR* value) {
    if (!value) return E_POINTER;
    Widget* widget = nullptr;
    const HRESULT found = Find(child, &widget);
    return FAILED(found) ? found : ToBstr(widget->Value(), value);
}
STDMETHODIMP WidgetAccessible::get_accRole(VARIANT child, VARIANT* role) {
    if (!role) return E_POINTER;
    Widget* widget = nullptr;
    const HRESULT found = Find(child, &widget);
    return FAILED(found) ? found : ToVariant(widget->Role(), role);
}
STDMETHODIMP WidgetAccessible::get_accState(VARIANT child, VARIANT* state) {
    if (!state) return E_POINTER;
    Widget* widget = nullptr;
    const HRESULT found = Find(child, &widget);
    return FAILED(found) ? found : ToVariant(widget->AccessibleState(), state);
}
STDMETHODIMP WidgetAccessible::get_accDefaultAction(VARIANT child, BSTR* action) {
    if (!action) return E_POINTER;
    Widget* widget = nullptr;
    const HRESULT found = Find(child, &widget);
    return FAILED(found) ? found : ToBstr(widget->DefaultAction(), action);
}
STDMETHODIMP WidgetAccessible::accDoDefaultAction(VARIANT child) {
    Widget* widget = nullptr;
    const HRESULT found = Find(child, &widget);
    if (FAILED(found)) return found;
    if (!IsWindowEnabled(widget->Window())) return E_FAIL;
    widget->DoDefaultAction();
    return S_OK;
}
STDMETHODIMP WidgetAccessible::put_accValue(VARIANT child, BSTR value) {
    Widget* widget = nullptr;
    const HRESULT found = Find(child, &widget);
    if (FAILED(found)) return found;
    const std::wstring text = value ? std::wstring(value, SysStringLen(value)) : std::wstring();
    return IsWindowEnabled(widget->Window()) && widget->SetValue(text) ? S_OK : E_INVALIDARG;
}

// ---- What any window has

STDMETHODIMP WidgetAccessible::get_accParent(IDispatch** parent) {
    return m_system->get_accParent(parent);
}
STDMETHODIMP WidgetAccessible::get_accChildCount(LONG* count) {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
}
STDMETHODIMP WidgetAccessible::get_accChild(VARIANT, IDispatch** object) {
    if (object) *object = nullptr;
    return E_INVALIDARG;
}
STDMETHODIMP WidgetAccessible::get_accDescription(VARIANT child, BSTR* description) {
    return m_system->get_accDescription(child, description);
}
STDMETHODIMP WidgetAccessible::get_accHelp(VARIANT child, BSTR* help) {
    return m_system->get_accHelp(child, help);
}
STDMETHODIMP WidgetAccessible::get_accHelpTopic(BSTR* file, VARIANT child, LONG* topic) {
    return m_system->get_accHelpTopic(file, child, topic);
}
STDMETHODIMP WidgetAccessible::get_accKeyboardShortcut(VARIANT child, BSTR* shortcut) {
    return m_system->get_accKeyboardShortcut(child, shortcut);
}
STDMETHODIMP WidgetAccessible::get_accFocus(VARIANT* child) {
    return m_system->get_accFocus(child);
}
STDMETHODIMP WidgetAccessible::get_accSelection(VARIANT* children) {
    return m_system->get_accSelection(children);
}
STDMETHODIMP WidgetAccessible::accSelect(LONG flags, VARIANT child) {
    Widget* widget = nullptr;
    const HRESULT found = Find(child, &widget);
    if (FAILED(found)) return found;
    if (flags != SELFLAG_TAKEFOCUS) return E_INVALIDARG;
    SetFocus(widget->Window());
    return S_OK;
}
STDMETHODIMP WidgetAccessible::accLocation(LONG* left, LONG* top, LONG* width, LONG* height, VARIANT child) {
    return m_system->accLocation(left, top, width, height, child);
}
STDMETHODIMP WidgetAccessible::accNavigate(LONG direction, VARIANT start, VARIANT* end) {
    return m_system->accNavigate(direction, start, end);
}
STDMETHODIMP WidgetAccessible::accHitTest(LONG left, LONG top, VARIANT* child) {
    return m_system->accHitTest(left, top, child);
}
STDMETHODIMP WidgetAccessible::put_accName(VARIANT, BSTR) {
    return E_NOTIMPL;
}

}  // namespace norix
