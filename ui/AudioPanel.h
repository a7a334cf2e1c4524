#pragma once

#include <windows.h>

#include <optional>

#include "framework/Wnd.h"
#include "ui/skin/BitmapButton.h"
#include "ui/skin/BitmapSlider.h"
#include "ui/skin/LevelMeter.h"
#include "ui/skin/Skin.h"

namespace norix {

/// What the audio panel does when the user operates it. Called on the window's thread. May hide the panel;
/// must not end its life.
class AudioPanelSink {
  public:
    virtual void SetMute(bool mute) = 0;
    virtual void SetVolume(int volume) = 0;  ///< 0 to 100
    /// The microphone is to be on, or off.
    virtual void SetTalk(bool talk) = 0;
    virtual void SetMicrophoneLevel(int level) = 0;  ///< 0 to 100
    /// How loud the microphone is just now, 0 to 100; asked while it is on.
    virtual int VoiceLevel() = 0;

  protected:
    ~AudioPanelSink() = default;
};

/// What the audio panel shows.
struct AudioPanelView {
    bool mute = false;
    int volume = -1;  ///< 0 to 100; negative counts as full
    bool talking = false;
    std::optional<int> microphoneLevel;  ///< 0 to 100; nothing where it can't be set
};

/// A small bar over the lower left corner of a window: a button that mutes and a slider for the volume; a
/// button that switches the microphone on as long as it is held and one that keeps it on, a slider for its
/// level and a meter. The sound itself is its sink's affair; whoever changes it otherwise says so with
/// Update.
///
/// Belongs to the thread of its parent window. The sink outlives it.
class AudioPanel final : private framework::CWnd {
  public:
    explicit AudioPanel(AudioPanelSink& sink);

    /// Shows it over `parent`, in the size for a resolution of the screen; false when the system refuses. The
    /// panel goes with that window.
    bool Show(HWND parent, int dpi = ScreenDpi());
    void Hide();
    bool IsShown() const { return HasWindow(); }

    /// Back to its corner, after the parent's size has changed.
    void Place();

    void Update(const AudioPanelView& view);

    /// A key that the container offers while its control is active: Tab goes into the panel and through it,
    /// and what its widgets understand is theirs. True when it was used.
    bool TranslateKey(const MSG& message);

    HWND Window() const { return Handle(); }

  private:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    bool MakeWidgets();
    void Refresh();
    void OnTalk(bool down);
    void OnKeepTalking();

    AudioPanelSink& m_sink;
    std::optional<Skin> m_skin;  // before the widgets, which are drawn with it
    BitmapButton m_muteButton;
    BitmapSlider m_volumeSlider;
    BitmapButton m_talkButton;
    BitmapButton m_keepButton;
    BitmapSlider m_levelSlider;
    LevelMeter m_meter;
    AudioPanelView m_view;
    bool m_kept = false;  // the microphone stays on
};

}  // namespace norix
