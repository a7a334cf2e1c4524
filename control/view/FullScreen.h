#pragma once

#include <windows.h>

#include "util/Handles.h"

namespace norix {

/// Lets a window that is a child of another fill the monitor on which it is, and puts it back. It stays the
/// same window, so that whatever draws in it goes on. Meanwhile it belongs to the host's top-level window:
/// when that one is minimised or destroyed, so is it. Window thread.
class FullScreen {
  public:
    bool IsOn() const { return m_window != nullptr; }

    /// False for a window that is no visible child.
    bool Enter(HWND window);
    /// Back into its parent, where and below what it was. Hidden, if the host has hidden it meanwhile. False
    /// when there is no parent any more: it stays hidden, to be destroyed.
    bool Leave();
    /// Whether the parent is still there. Only asking tells: it may go by itself, without its top-level
    /// window.
    bool HasPlace() const { return IsWindow(m_parent) != FALSE; }
    /// The window goes.
    void Forget() { m_window = nullptr; }

  private:
    HWND m_window = nullptr;  // while it is on
    HWND m_parent = nullptr;
    HWND m_above = nullptr;  // the sibling that covered it, if any
    LONG_PTR m_style = 0;
    LONG_PTR m_exStyle = 0;
    RECT m_place = {};            // in the parent's client pixels
    util::UniqueRegion m_region;  // the window's, if it had one
};

}  // namespace norix
