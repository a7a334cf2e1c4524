#pragma once

#include <windows.h>

#include <mmsystem.h>

#include <optional>

namespace norix {

/// The recording level of the default microphone, in the system's mixer. The window's thread; each call asks
/// the mixer anew, since devices come and go.
class CMicVolumeCtrl {
  public:
    /// What of the system's mixer is used; tests put another in its place.
    struct Mixer {
        decltype(&mixerOpen) open;
        decltype(&mixerClose) close;
        decltype(&mixerGetLineInfoW) lineInfo;
        decltype(&mixerGetLineControlsW) lineControls;
        decltype(&mixerGetControlDetailsW) controlDetails;
        decltype(&mixerSetControlDetails) setControlDetails;
    };
    static const Mixer& SystemMixer();

    explicit CMicVolumeCtrl(const Mixer& mixer = SystemMixer()) : m_mixer(mixer) {}

    /// 0 to 100; nothing where the system has no such control.
    std::optional<int> Get() const;
    /// 0 to 100. False where the system has no such control, or refuses.
    bool Set(int level) const;

  private:
    struct Control;
    template <class Use>
    bool WithControl(const Use& use) const;

    const Mixer& m_mixer;
};

}  // namespace norix
