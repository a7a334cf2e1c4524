#pragma once

#include <windows.h>

namespace norix {

/// A box of the system's with a text and OK, which can also be closed from outside. One per thread at a time;
/// the thread of its owner.
class InfoBox {
  public:
    /// Returns when the box is closed; runs a message loop. While it is open, another call shows nothing.
    void Show(HWND owner, const wchar_t* text, const wchar_t* title);
    /// Closes the box, as OK does.
    void Dismiss();

  private:
    static LRESULT CALLBACK OnActivation(int code, WPARAM wParam, LPARAM lParam) noexcept;

    HWND m_box = nullptr;
    bool m_open = false;
};

}  // namespace norix
