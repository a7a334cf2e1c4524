#pragma once

#include <windows.h>

#include "control/view/ViewHost.h"

namespace norix {

/// Turns mouse messages of the video into events. Coordinates are pixels of the control's window.
///
/// A click is a press and a release of the same button inside the control; its event follows the release.
/// The second press of a double click fires the double-click event instead of the press.
class MouseEvents {
  public:
    explicit MouseEvents(MouseHost& host) : m_host(host) {}

    /// False for messages that are not the mouse's.
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam);

    /// The window goes: a press in it has no release.
    void Forget() { m_pressed = nullptr; }

  private:
    struct Button;
    void Press(const Button& button, LPARAM position);
    void Release(const Button& button, LPARAM position);
    void DoubleClick(const Button& button, LPARAM position);
    void Wheel(WPARAM wParam, LPARAM position);

    MouseHost& m_host;
    const Button* m_pressed = nullptr;  // between press and release
};

}  // namespace norix
