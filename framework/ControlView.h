#pragma once

#include <windows.h>

#include <oleidl.h>
#include <wrl/client.h>

#include "framework/InterfacePart.h"

namespace framework {

class COleControl;

/// The control's picture for its container: drawing while inactive or when printed, and notification of
/// changes.
class ControlView final : public InterfacePart<COleControl, IViewObject2> {
  public:
    using InterfacePart::InterfacePart;

    /// Also answers for IViewObject, the base of IViewObject2.
    void* Find(REFIID iid);

    /// `bounds` are in the logical units of `dc`, also for a metafile.
    STDMETHODIMP Draw(DWORD aspect, LONG index, void* aspectInfo, DVTARGETDEVICE* target, HDC targetDc,
                      HDC dc, LPCRECTL bounds, LPCRECTL windowBounds, BOOL(CALLBACK* keepDrawing)(ULONG_PTR),
                      ULONG_PTR keepDrawingData) override;
    STDMETHODIMP GetColorSet(DWORD aspect, LONG index, void* aspectInfo, DVTARGETDEVICE* target, HDC targetDc,
                             LOGPALETTE** palette) override;
    STDMETHODIMP Freeze(DWORD aspect, LONG index, void* aspectInfo, DWORD* key) override;
    STDMETHODIMP Unfreeze(DWORD key) override;
    STDMETHODIMP SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) override;
    STDMETHODIMP GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) override;
    STDMETHODIMP GetExtent(DWORD aspect, LONG index, DVTARGETDEVICE* target, LPSIZEL extent) override;

    /// Tells the advised sink that the picture has changed.
    void NotifyViewChange();

  private:
    Microsoft::WRL::ComPtr<IAdviseSink> m_sink;
    DWORD m_aspects = 0;
    DWORD m_flags = 0;  // ADVF
};

}  // namespace framework
