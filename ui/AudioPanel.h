#pragma once

#include <windows.h>

#include "framework/Wnd.h"

namespace norix {

/// What the audio panel does when the user operates it. Called on the window's thread. May hide the panel;
/// must not end its life.
class AudioPanelSink {
  public:
    virtual void SetMute(bool mute) = 0;
    virtual void SetVolume(int volume) = 0;  ///< 0 to 100

  protected:
    ~AudioPanelSink() = default;
};

/// A small bar over the lower left corner of a window: a button that mutes and a slider for the volume. The
/// sound itself is its sink's affair; whoever changes it otherwise says so with Update.
///
/// Belongs to the thread of its parent window. The sink outlives it.
class AudioPanel final : private framework::CWnd {
  public:
    explicit AudioPanel(AudioPanelSink& sink) : m_sink(sink) {}

    /// Shows it over `parent`; false when the system refuses. The panel goes with that window.
    bool Show(HWND parent);
    void Hide() { DestroyWindow(); }
    bool IsShown() const { return HasWindow(); }

    /// Back to its corner, after the parent's size has changed.
    void Place();

    /// What it shows. A negative volume counts as full.
    void Update(bool mute, int volume);

    HWND Window() const { return Handle(); }

  private:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void Press(POINT at);
    void Slide(int x);
    void Paint() const;
    void Draw(HDC dc) const;

    AudioPanelSink& m_sink;
    bool m_mute = false;
    int m_volume = 100;
    bool m_sliding = false;  // the mouse is captured
};

}  // namespace norix
