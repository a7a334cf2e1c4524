#pragma once

#include <windows.h>

#include <string>

#include "framework/Wnd.h"

namespace norix {

/// What the motion panel does when the user operates it. Called on the window's thread; windows count from 0.
/// May hide the panel; must not end its life.
class MotionPanelSink {
  public:
    virtual void OnMotionWindow(int index, bool on) = 0;
    virtual void OnMotionName(int index, const std::wstring& name) = 0;
    virtual void OnSaveMotion() = 0;

  protected:
    ~MotionPanelSink() = default;
};

/// A panel over the lower left corner of a window: for each of three motion windows a check box and a field
/// for its name, what the camera's sensitivity is, and a button that saves.
///
/// Belongs to the thread of its parent window. The sink outlives it.
class MotionPanel final : private framework::CWnd {
  public:
    static constexpr int kWindows = 3;

    explicit MotionPanel(MotionPanelSink& sink) : m_sink(sink) {}

    /// Shows it over `parent`; false when the system refuses. The panel goes with that window.
    bool Show(HWND parent);
    void Hide() { DestroyWindow(); }
    bool IsShown() const { return HasWindow(); }
    /// To the top, and back to its corner: above `below` pixels that are another panel's.
    void Place(int below = 0);

    /// What it shows; the sink is not told.
    void SetWindow(int index, bool on, const std::wstring& name);
    void SetSensitivity(int percent);
    bool IsOn(int index) const;
    std::wstring Name(int index) const;

    HWND Window() const { return Handle(); }

  private:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    bool Fill();
    bool AddChild(const wchar_t* windowClass, const wchar_t* text, DWORD style, int id, RECT place);
    void OnCommand(int id, int code);

    MotionPanelSink& m_sink;
    int m_dpi = 96;
    bool m_quiet = false;  // what changes now is not the user's doing
};

}  // namespace norix
