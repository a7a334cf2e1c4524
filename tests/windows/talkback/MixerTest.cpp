// Which of a mixer's controls is the microphone's level.

#include <gtest/gtest.h>

#include "audio/talkback/MicVolumeCtrl.h"

namespace norix {
namespace {

/// A sound card that can be recorded from: a line-in, and a microphone where it has one.
struct Card {
    bool microphone = true;
    bool volume = true;
    DWORD levels[2] = {1000, 1000};  // of the microphone, of all recording; between 200 and 1200
    int open = 0;
} g_card;

MMRESULT WINAPI Open(LPHMIXER mixer, UINT, DWORD_PTR, DWORD_PTR, DWORD) {
    *mixer = reinterpret_cast<HMIXER>(1);
    ++g_card.open;
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI Close(HMIXER) {
    --g_card.open;
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI LineInfo(HMIXEROBJ, LPMIXERLINEW line, DWORD flags) {
    if (flags == MIXER_GETLINEINFOF_COMPONENTTYPE) {
        line->dwDestination = 1;
        line->cConnections = g_card.microphone ? 2 : 1;
        line->dwLineID = 100;
        return MMSYSERR_NOERROR;
    }
    line->dwLineID = line->dwSource;
    line->dwComponentType =
        line->dwSource == 1 ? MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE : MIXERLINE_COMPONENTTYPE_SRC_LINE;
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI LineControls(HMIXEROBJ, LPMIXERLINECONTROLSW controls, DWORD) {
    if (!g_card.volume || controls->dwLineID == 0) return MIXERR_INVALCONTROL;
    controls->pamxctrl->dwControlID = controls->dwLineID == 1 ? 0 : 1;
    controls->pamxctrl->Bounds.dwMinimum = 200;
    controls->pamxctrl->Bounds.dwMaximum = 1200;
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI Details(HMIXEROBJ, LPMIXERCONTROLDETAILS details, DWORD) {
    static_cast<MIXERCONTROLDETAILS_UNSIGNED*>(details->paDetails)->dwValue =
        g_card.levels[details->dwControlID];
    return MMSYSERR_NOERROR;
}
MMRESULT WINAPI SetDetails(HMIXEROBJ, LPMIXERCONTROLDETAILS details, DWORD) {
    g_card.levels[details->dwControlID] =
        static_cast<MIXERCONTROLDETAILS_UNSIGNED*>(details->paDetails)->dwValue;
    return MMSYSERR_NOERROR;
}

constexpr CMicVolumeCtrl::Mixer kMixer = {&Open, &Close, &LineInfo, &LineControls, &Details, &SetDetails};

TEST(MicVolume, IsTheMicrophonesOwnWhereItIsToldApart) {
    g_card = {};
    const CMicVolumeCtrl control(kMixer);
    EXPECT_EQ(control.Get(), 80);
    EXPECT_TRUE(control.Set(25));
    EXPECT_EQ(g_card.levels[0], 450u);
    EXPECT_EQ(g_card.levels[1], 1000u);
    EXPECT_TRUE(control.Set(1000));
    EXPECT_EQ(control.Get(), 100);
    g_card.microphone = false;
    EXPECT_TRUE(control.Set(0));
    EXPECT_EQ(g_card.levels[1], 200u);
    g_card.volume = false;
    EXPECT_EQ(control.Get(), std::nullopt);
    EXPECT_FALSE(control.Set(50));
    EXPECT_EQ(g_card.open, 0);
}

}  // namespace
}  // namespace norix
