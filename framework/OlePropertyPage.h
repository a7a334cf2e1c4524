#pragma once

#include <windows.h>

#include <ocidl.h>
#include <wrl/client.h>

#include <string>
#include <vector>

#include "framework/Dialog.h"
#include "framework/Module.h"

namespace framework {

/// A property page: a dialog that a container shows in a property frame. Whoever derives from it makes the
/// controls (CDialog::OnInit) and gives the dialog its size. Created by a class factory with one reference;
/// lives on the thread that created it.
class COlePropertyPage : public IPropertyPage, protected CDialog {
  public:
    /// IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    /// IPropertyPage
    STDMETHODIMP SetPageSite(IPropertyPageSite* site) override;
    STDMETHODIMP Activate(HWND parent, LPCRECT bounds, BOOL modal) override;
    STDMETHODIMP Deactivate() override;
    STDMETHODIMP GetPageInfo(PROPPAGEINFO* info) override;
    STDMETHODIMP SetObjects(ULONG count, IUnknown** objects) override;
    STDMETHODIMP Show(UINT command) override;
    STDMETHODIMP Move(LPCRECT bounds) override;
    STDMETHODIMP IsPageDirty() override;
    STDMETHODIMP Apply() override;
    STDMETHODIMP Help(LPCOLESTR folder) override;
    STDMETHODIMP TranslateAccelerator(LPMSG message) override;

  protected:
    /// `title`: the tab's text; `help`: what Help tells is a part of, to be shown or not; may be empty.
    COlePropertyPage(std::wstring title, std::wstring help)
        : m_title(std::move(title)), m_help(std::move(help)) {}

    using Object = Microsoft::WRL::ComPtr<IUnknown>;
    /// Whose properties the page shows: several are changed alike.
    const std::vector<Object>& Objects() const { return m_objects; }

    /// Fills the dialog from the first object. Runs when both are there.
    virtual void OnShowObject(IUnknown& object) = 0;
    /// Hands what the user has changed to the objects.
    virtual HRESULT OnApply() = 0;
    /// Tells about what the keyboard is at.
    virtual HRESULT OnHelp() { return E_NOTIMPL; }

    /// The user has changed something: the frame's Apply is for it.
    void SetDirty();

  private:
    SIZE MeasureDialog();
    bool CreatePage(HWND parent);
    void ShowFirst();

    const ModuleLock m_moduleLock;
    const std::wstring m_title;
    const std::wstring m_help;
    LONG m_references = 1;
    bool m_dirty = false;
    Microsoft::WRL::ComPtr<IPropertyPageSite> m_site;
    std::vector<Object> m_objects;
};

}  // namespace framework
