#pragma once

#include <windows.h>

#include <oleidl.h>
#include <wrl/client.h>

#include <string>

#include "framework/Module.h"

namespace norix {

/// Who hears of dropped text.
class DropSink {
  public:
    virtual void OnTextDropped(const std::wstring& text) = 0;

  protected:
    ~DropSink() = default;
};

/// Takes text that is dropped on a window: hosts drop a camera's MAC address on the video. Window thread.
///
/// A COM object of its own, since the system holds a reference for as long as the window accepts drops: that
/// reference must not keep the control alive.
class DropTarget final : public IDropTarget {
  public:
    /// Makes the window accept drops. Null on a thread without OleInitialize, which has no drag and drop.
    static Microsoft::WRL::ComPtr<DropTarget> Register(HWND window, DropSink& sink);
    /// Ends it; the sink is not called any more.
    void Revoke();

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP DragEnter(IDataObject* data, DWORD keys, POINTL point, DWORD* effect) override;
    STDMETHODIMP DragOver(DWORD keys, POINTL point, DWORD* effect) override;
    STDMETHODIMP DragLeave() override;
    STDMETHODIMP Drop(IDataObject* data, DWORD keys, POINTL point, DWORD* effect) override;

  private:
    DropTarget(HWND window, DropSink& sink) : m_window(window), m_sink(&sink) {}
    ~DropTarget() = default;

    const framework::ModuleLock m_moduleLock;
    LONG m_references = 1;
    const HWND m_window;
    DropSink* m_sink;        // null after Revoke
    bool m_accepts = false;  // what is dragged over the window now has text
};

}  // namespace norix
