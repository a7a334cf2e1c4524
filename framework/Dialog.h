#pragma once

#include <windows.h>

namespace framework {

/// A modeless dialog without a template: whoever derives from it makes the controls in OnInit. Tab, Enter,
/// Esc and mnemonics work whatever loop dispatches the thread's messages, because hosts do not know of the
/// dialogs of a control.
///
/// All calls run on the thread that created it. The object outlives its window or destroys it first; the
/// destructor destroys one that is still there.
class CDialog {
  public:
    CDialog() = default;
    virtual ~CDialog();
    CDialog(const CDialog&) = delete;
    CDialog& operator=(const CDialog&) = delete;

    /// Hidden at first, unless `style` says otherwise. With WS_CHILD it is part of `parent` and its owner
    /// cares for the keys; else `parent` owns it. False when the system refuses, or OnInit answered false.
    bool Create(HWND parent, DWORD style, DWORD exStyle = 0);
    /// Nothing more is told of it: safe from destructors.
    void Destroy();

    HWND Handle() const { return m_window; }
    bool HasWindow() const { return m_window != nullptr; }

  protected:
    /// Makes the controls. False: there is no dialog.
    virtual bool OnInit() = 0;
    /// A control of this number has something to say, or Enter (the default button's number) or Esc
    /// (IDCANCEL) was pressed. May destroy the dialog and this object: nothing of it is touched afterwards.
    virtual void OnCommand(int id, int code) = 0;
    /// Any other message; true when that was all. The same holds.
    virtual bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam);

  private:
    static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static LRESULT CALLBACK OnThreadMessage(int code, WPARAM wParam, LPARAM lParam);
    bool Dispatch(UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    bool WatchKeys();
    void Detach();

    HWND m_window = nullptr;
    HHOOK m_keys = nullptr;
    bool m_initialised = false;
};

}  // namespace framework
