#pragma once

#include <windows.h>

#include <string>

#include "framework/Dialog.h"
#include "ui/FormControls.h"

namespace norix {

/// A dialog of a form over a window: centred over it, on the screen as a whole, laid out anew when it comes
/// to a screen of another resolution. Nothing waits for it, and nothing else is disabled meanwhile.
class FormDialog : protected framework::CDialog {
  public:
    void Close() { Destroy(); }
    bool IsOpen() const { return HasWindow(); }
    HWND Window() const { return Handle(); }

  protected:
    /// `over` is the control's window. False when the system refuses.
    bool Open(HWND over, const std::wstring& title, Form form);

    FormControls& Controls() { return m_controls; }
    /// Fills the fields, sets the focus.
    virtual void OnOpened() = 0;
    /// The user or the session ends it. The dialog is there no more; may destroy this object.
    virtual void OnClosed() {}

    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    /// Esc and the caption's button: closes.
    void Cancel();

  private:
    bool OnInit() override;
    void Resize(int dpi);
    void Centre(HWND over);

    Form m_form;
    FormControls m_controls;
};

}  // namespace norix
