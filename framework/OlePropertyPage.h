#pragma once

#include <windows.h>

#include <ocidl.h>
#include <wrl/client.h>

#include <vector>

#include "framework/Module.h"

namespace framework {

/// A property page: a dialog from this module's resources that a container shows in a property frame.
/// Created by a class factory with one reference; lives on the thread that created it.
class COlePropertyPage : public IPropertyPage {
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
    /// `dialog`: resource number of a WS_CHILD dialog; `title`: the tab's text (a literal).
    COlePropertyPage(unsigned dialog, const wchar_t* title) : m_dialogResource(dialog), m_title(title) {}
    virtual ~COlePropertyPage();

    /// Fills the dialog from the first object. Runs when both are there.
    virtual void OnShowObject(HWND dialog, IUnknown& object) = 0;

  private:
    static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
    SIZE MeasureDialog() const;

    const ModuleLock m_moduleLock;
    const unsigned m_dialogResource;
    const wchar_t* const m_title;
    LONG m_references = 1;
    HWND m_dialog = nullptr;
    Microsoft::WRL::ComPtr<IPropertyPageSite> m_site;
    std::vector<Microsoft::WRL::ComPtr<IUnknown>> m_objects;
};

}  // namespace framework
