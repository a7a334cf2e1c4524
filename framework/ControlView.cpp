#include "framework/ControlView.h"

#include "framework/EntryPoint.h"
#include "framework/OleControl.h"

namespace framework {

namespace {

/// Restores everything that drawing changes in a device context that belongs to the container.
class SavedDc {
  public:
    explicit SavedDc(HDC dc) : m_dc(dc), m_state(SaveDC(dc)) {}
    ~SavedDc() {
        if (m_state != 0) RestoreDC(m_dc, m_state);
    }
    SavedDc(const SavedDc&) = delete;
    SavedDc& operator=(const SavedDc&) = delete;

  private:
    HDC m_dc;
    int m_state;
};

}  // namespace

void* ControlView::Find(REFIID iid) {
    if (iid == IID_IViewObject) return static_cast<IViewObject*>(this);
    return InterfacePart::Find(iid);
}

STDMETHODIMP ControlView::Draw(DWORD aspect, LONG, void*, DVTARGETDEVICE*, HDC, HDC dc, LPCRECTL bounds,
                               LPCRECTL, BOOL(CALLBACK*)(ULONG_PTR), ULONG_PTR) {
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (dc == nullptr || bounds == nullptr) return E_POINTER;
    return GuardedCall(m_owner, [&] {
        const SavedDc saved(dc);
        const RECT area = {bounds->left, bounds->top, bounds->right, bounds->bottom};
        m_owner.OnDraw(dc, area);
        return S_OK;
    });
}

STDMETHODIMP ControlView::GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE** palette) {
    if (palette == nullptr) return E_POINTER;
    *palette = nullptr;
    return S_FALSE;  // no palette of its own
}

STDMETHODIMP ControlView::Freeze(DWORD, LONG, void*, DWORD*) {
    return E_NOTIMPL;
}
STDMETHODIMP ControlView::Unfreeze(DWORD) {
    return E_NOTIMPL;
}

STDMETHODIMP ControlView::SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) {
    return GuardedCall(m_owner, [&] {
        const Microsoft::WRL::ComPtr<IAdviseSink> old = std::exchange(m_sink, sink);
        m_aspects = aspects;
        m_flags = flags;
        if ((flags & ADVF_PRIMEFIRST) != 0) NotifyViewChange();
        return S_OK;
    });
}

STDMETHODIMP ControlView::GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) {
    if (aspects != nullptr) *aspects = m_aspects;
    if (flags != nullptr) *flags = m_flags;
    return sink == nullptr ? S_OK : m_sink.CopyTo(sink);
}

STDMETHODIMP ControlView::GetExtent(DWORD aspect, LONG, DVTARGETDEVICE*, LPSIZEL extent) {
    return m_owner.Embedding().GetExtent(aspect, extent);
}

void ControlView::NotifyViewChange() {
    const Microsoft::WRL::ComPtr<IAdviseSink> sink = m_sink;
    if (sink == nullptr || (m_aspects & DVASPECT_CONTENT) == 0) return;
    if ((m_flags & ADVF_ONLYONCE) != 0) m_sink = nullptr;
    sink->OnViewChange(DVASPECT_CONTENT, -1);
}

}  // namespace framework
