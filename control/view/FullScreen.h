#pragma once

#include <windows.h>

namespace norix {

/// Lets a window that is a child of another fill the monitor on which it is, and puts it back. It stays the
/// same window, so that whatever draws in it goes on. Meanwhile it belongs to the host's top-level window:
/// when that one is minimised or destroyed, so is it. Window thread.
class FullScreen {
  public:
    bool IsOn() const { return m_window != nullptr; }

    /// False for a window that is no visible child.
    bool Enter(HWND window);
    /// Back into its parent, where and as visible as the host last wanted it.
    void Leave();
    /// The window goes.
    void Forget() { m_window = nullptr; }

    /// While it is on: where the host wants the window in the parent, and whether it wants to see it.
    void SetPlace(const RECT& place) { m_place = place; }
    void SetVisible(bool visible) { m_visible = visible; }

  private:
    HWND m_window = nullptr;  // while it is on
    HWND m_parent = nullptr;
    LONG_PTR m_style = 0;
    LONG_PTR m_exStyle = 0;
    RECT m_place = {};  // in the parent's client pixels
    bool m_visible = true;
};

}  // namespace norix
