#include "audio/talkback/MicVolumeCtrl.h"

#include <algorithm>
#include <cstdint>

#include "util/Log.h"

namespace norix {
namespace {

constexpr int kFull = 100;

}  // namespace

struct CMicVolumeCtrl::Control {
    HMIXEROBJ mixer = nullptr;
    MIXERCONTROLW info = {};

    DWORD Span() const { return info.Bounds.dwMaximum - info.Bounds.dwMinimum; }
};

const CMicVolumeCtrl::Mixer& CMicVolumeCtrl::SystemMixer() {
    static const Mixer kMixer = {&mixerOpen,
                                 &mixerClose,
                                 &mixerGetLineInfoW,
                                 &mixerGetLineControlsW,
                                 &mixerGetControlDetailsW,
                                 &mixerSetControlDetails};
    return kMixer;
}

// The control is that of the microphone among what can be recorded from; where it isn't told apart, that of
// all recording.
template <class Use>
bool CMicVolumeCtrl::WithControl(const Use& use) const {
    constexpr UINT kDefaultDevice = 0;
    HMIXER opened = nullptr;
    if (m_mixer.open(&opened, kDefaultDevice, 0, 0, MIXER_OBJECTF_WAVEIN) != MMSYSERR_NOERROR) return false;
    const auto mixer = reinterpret_cast<HMIXEROBJ>(opened);
    const auto volumeOf = [&](const MIXERLINEW& line, MIXERCONTROLW& found) {
        MIXERLINECONTROLSW controls = {};
        controls.cbStruct = sizeof controls;
        controls.dwLineID = line.dwLineID;
        controls.dwControlType = MIXERCONTROL_CONTROLTYPE_VOLUME;
        controls.cControls = 1;
        controls.cbmxctrl = sizeof found;
        controls.pamxctrl = &found;
        return m_mixer.lineControls(mixer, &controls, MIXER_GETLINECONTROLSF_ONEBYTYPE) == MMSYSERR_NOERROR &&
               found.Bounds.dwMaximum > found.Bounds.dwMinimum;
    };
    Control control{mixer, {}};
    MIXERLINEW recording = {};
    recording.cbStruct = sizeof recording;
    recording.dwComponentType = MIXERLINE_COMPONENTTYPE_DST_WAVEIN;
    bool found = false;
    if (m_mixer.lineInfo(mixer, &recording, MIXER_GETLINEINFOF_COMPONENTTYPE) == MMSYSERR_NOERROR) {
        for (DWORD i = 0; i < recording.cConnections && !found; ++i) {
            MIXERLINEW source = {};
            source.cbStruct = sizeof source;
            source.dwDestination = recording.dwDestination;
            source.dwSource = i;
            found = m_mixer.lineInfo(mixer, &source, MIXER_GETLINEINFOF_SOURCE) == MMSYSERR_NOERROR &&
                    source.dwComponentType == MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE &&
                    volumeOf(source, control.info);
        }
        found = found || volumeOf(recording, control.info);
    }
    const bool done = found && use(control);
    m_mixer.close(opened);
    return done;
}

std::optional<int> CMicVolumeCtrl::Get() const {
    int level = 0;
    const bool known = WithControl([&](const Control& control) {
        MIXERCONTROLDETAILS_UNSIGNED value = {};
        MIXERCONTROLDETAILS details = {};
        details.cbStruct = sizeof details;
        details.dwControlID = control.info.dwControlID;
        details.cChannels = 1;  // all of them as one
        details.cbDetails = sizeof value;
        details.paDetails = &value;
        if (m_mixer.controlDetails(control.mixer, &details, MIXER_GETCONTROLDETAILSF_VALUE) !=
            MMSYSERR_NOERROR)
            return false;
        const DWORD above =
            std::clamp(value.dwValue, control.info.Bounds.dwMinimum, control.info.Bounds.dwMaximum) -
            control.info.Bounds.dwMinimum;
        level = static_cast<int>((std::uint64_t{above} * kFull + control.Span() / 2) / control.Span());
        return true;
    });
    return known ? std::optional(level) : std::nullopt;
}

bool CMicVolumeCtrl::Set(int level) const {
    return WithControl([&](const Control& control) {
        const auto wanted = static_cast<std::uint64_t>(std::clamp(level, 0, kFull));
        MIXERCONTROLDETAILS_UNSIGNED value = {};
        value.dwValue = control.info.Bounds.dwMinimum + static_cast<DWORD>(control.Span() * wanted / kFull);
        MIXERCONTROLDETAILS details = {};
        details.cbStruct = sizeof details;
        details.dwControlID = control.info.dwControlID;
        details.cChannels = 1;
        details.cbDetails = sizeof value;
        details.paDetails = &value;
        const MMRESULT result =
            m_mixer.setControlDetails(control.mixer, &details, MIXER_SETCONTROLDETAILSF_VALUE);
        if (result != MMSYSERR_NOERROR) {
            NORIX_LOG("CMicVolumeCtrl::Set", 0, "the microphone's level stays (error %u)", result);
        }
        return result == MMSYSERR_NOERROR;
    });
}

}  // namespace norix
