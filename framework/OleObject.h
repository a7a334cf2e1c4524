#pragma once

#include <windows.h>

#include <ocidl.h>
#include <oleidl.h>
#include <wrl/client.h>

#include "framework/InterfacePart.h"

namespace framework {

class COleControl;

/// The control as an embedded object: its client site, size, verbs and ambient properties.
class OleObject final : public InterfacePart<COleControl, IOleObject, IOleControl, IQuickActivate> {
  public:
    explicit OleObject(COleControl& owner);

    /// IOleObject
    STDMETHODIMP SetClientSite(IOleClientSite* site) override;
    STDMETHODIMP GetClientSite(IOleClientSite** site) override;
    STDMETHODIMP SetHostNames(LPCOLESTR application, LPCOLESTR object) override;
    STDMETHODIMP Close(DWORD saveOption) override;
    STDMETHODIMP SetMoniker(DWORD which, IMoniker* moniker) override;
    STDMETHODIMP GetMoniker(DWORD assign, DWORD which, IMoniker** moniker) override;
    STDMETHODIMP InitFromData(IDataObject* data, BOOL creation, DWORD reserved) override;
    STDMETHODIMP GetClipboardData(DWORD reserved, IDataObject** data) override;
    STDMETHODIMP DoVerb(LONG verb, LPMSG message, IOleClientSite* activeSite, LONG index, HWND parent,
                        LPCRECT position) override;
    STDMETHODIMP EnumVerbs(IEnumOLEVERB** verbs) override;
    STDMETHODIMP Update() override;
    STDMETHODIMP IsUpToDate() override;
    STDMETHODIMP GetUserClassID(CLSID* clsid) override;
    STDMETHODIMP GetUserType(DWORD form, LPOLESTR* name) override;
    STDMETHODIMP SetExtent(DWORD aspect, SIZEL* extent) override;
    STDMETHODIMP GetExtent(DWORD aspect, SIZEL* extent) override;
    STDMETHODIMP Advise(IAdviseSink* sink, DWORD* connection) override;
    STDMETHODIMP Unadvise(DWORD connection) override;
    STDMETHODIMP EnumAdvise(IEnumSTATDATA** enumerator) override;
    STDMETHODIMP GetMiscStatus(DWORD aspect, DWORD* status) override;
    STDMETHODIMP SetColorScheme(LOGPALETTE* palette) override;

    /// IOleControl
    STDMETHODIMP GetControlInfo(CONTROLINFO* info) override;
    STDMETHODIMP OnMnemonic(MSG* message) override;
    STDMETHODIMP OnAmbientPropertyChange(DISPID id) override;
    STDMETHODIMP FreezeEvents(BOOL freeze) override;

    /// IQuickActivate
    STDMETHODIMP QuickActivate(QACONTAINER* container, QACONTROL* control) override;
    STDMETHODIMP SetContentExtent(LPSIZEL extent) override;
    STDMETHODIMP GetContentExtent(LPSIZEL extent) override;

    /// The container's site, null for a control that no container has taken in.
    IOleClientSite* Site() const { return m_site.Get(); }
    /// A container has taken the control in at some time.
    bool WasContained() const { return m_wasContained; }
    /// Reads an ambient property, coerced to `type`. False when the container does not have it.
    bool GetAmbient(DISPID id, VARTYPE type, VARIANT& value) const;

    const SIZEL& Extent() const { return m_extent; }  ///< HIMETRIC
    void SetExtentValue(const SIZEL& extent) { m_extent = extent; }
    /// Asks the container to store the control, before the control goes.
    void SaveIfModified();
    void NotifyClosed();
    void NotifySaved();

  private:
    HRESULT ShowProperties(HWND parent);

    Microsoft::WRL::ComPtr<IOleClientSite> m_site;
    Microsoft::WRL::ComPtr<IDispatch> m_ambient;
    Microsoft::WRL::ComPtr<IOleAdviseHolder> m_adviseHolder;
    bool m_wasContained = false;
    SIZEL m_extent;  // HIMETRIC
};

/// Pixels to HIMETRIC (0.01 mm) and back, at the screen's resolution.
SIZEL PixelsToHimetric(const SIZE& pixels);
SIZE HimetricToPixels(const SIZEL& himetric);

}  // namespace framework
