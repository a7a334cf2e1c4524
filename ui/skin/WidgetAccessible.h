#pragma once

#include <windows.h>

#include <oleacc.h>
#include <wrl/client.h>

#include <atomic>

namespace norix {

class Widget;

/// A widget as screen readers see it (Microsoft Active Accessibility): name, role, state, value and action
/// are the widget's; where it lies, the system knows. Lives as long as somebody holds it; once its widget has
/// gone, everything fails.
class WidgetAccessible final : public IAccessible {
  public:
    /// Null when the system has no such objects.
    static Microsoft::WRL::ComPtr<WidgetAccessible> Make(Widget& widget);
    void Disconnect() { m_widget = nullptr; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override;

    STDMETHODIMP get_accParent(IDispatch** parent) override;
    STDMETHODIMP get_accChildCount(LONG* count) override;
    STDMETHODIMP get_accChild(VARIANT child, IDispatch** object) override;
    STDMETHODIMP get_accName(VARIANT child, BSTR* name) override;
    STDMETHODIMP get_accValue(VARIANT child, BSTR* value) override;
    STDMETHODIMP get_accDescription(VARIANT child, BSTR* description) override;
    STDMETHODIMP get_accRole(VARIANT child, VARIANT* role) override;
    STDMETHODIMP get_accState(VARIANT child, VARIANT* state) override;
    STDMETHODIMP get_accHelp(VARIANT child, BSTR* help) override;
    STDMETHODIMP get_accHelpTopic(BSTR* file, VARIANT child, LONG* topic) override;
    STDMETHODIMP get_accKeyboardShortcut(VARIANT child, BSTR* shortcut) override;
    STDMETHODIMP get_accFocus(VARIANT* child) override;
    STDMETHODIMP get_accSelection(VARIANT* children) override;
    STDMETHODIMP get_accDefaultAction(VARIANT child, BSTR* action) override;
    STDMETHODIMP accSelect(LONG flags, VARIANT child) override;
    STDMETHODIMP accLocation(LONG* left, LONG* top, LONG* width, LONG* height, VARIANT child) override;
    STDMETHODIMP accNavigate(LONG direction, VARIANT start, VARIANT* end) override;
    STDMETHODIMP accHitTest(LONG left, LONG top, VARIANT* child) override;
    STDMETHODIMP accDoDefaultAction(VARIANT child) override;
    STDMETHODIMP put_accName(VARIANT child, BSTR name) override;
    STDMETHODIMP put_accValue(VARIANT child, BSTR value) override;

  private:
    WidgetAccessible(Widget& widget, Microsoft::WRL::ComPtr<IAccessible> system)
        : m_widget(&widget), m_system(std::move(system)) {}
    ~WidgetAccessible() = default;
    /// The widget, where it is there and meant as a whole; else why not.
    HRESULT Find(const VARIANT& child, Widget** widget) const;

    std::atomic<ULONG> m_references{1};
    Widget* m_widget;                                    // the window's thread; null once it has gone
    const Microsoft::WRL::ComPtr<IAccessible> m_system;  // what any window has
};

}  // namespace norix
