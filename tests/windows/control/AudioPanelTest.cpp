// The audio panel, and what mute and volume do to the connection's parameters.

#include <windows.h>

#include "tests/windows/control/ControlFixture.h"

namespace norix::test {
namespace {

class TheSound : public ControlTest {
  protected:
    std::int32_t Volume() { return Control().Session().param.voiceVolume.Get(); }
    void LoadVolume(long value) {
        VARIANT variant;
        variant.vt = VT_I4;
        variant.lVal = value;
        EXPECT_EQ(Control().LoadProperty(*CNorixSDKCtrl::Table().Find(L"VoiceVolume"), variant), S_OK);
    }
    HWND Panel() { return GetWindow(Window(), GW_CHILD); }
    void Mouse(UINT message, int x) { SendMessageW(Panel(), message, MK_LBUTTON, MAKELPARAM(x, 12)); }
};

TEST_F(TheSound, KeepsItsVolumeUntilTheHostChoosesOne) {
    Create();
    EXPECT_EQ(Volume(), kVolumeAsRecorded);
    LoadVolume(0);
    EXPECT_EQ(Volume(), kVolumeAsRecorded) << "the default, as a container has saved it";
    LoadVolume(30);
    EXPECT_EQ(Volume(), 30);
    for (const auto& [written, used] : {std::pair(0L, 0), {50L, 50}, {1000L, 100}, {-1L, 0}}) {
        EXPECT_EQ(Put(L"VoiceVolume", written), S_OK);
        EXPECT_EQ(Volume(), used);
        EXPECT_EQ(Get(L"VoiceVolume"), std::to_string(written)) << "kept as given";
    }
}

TEST_F(TheSound, PanelSetsTheProperties) {
    Create();
    EXPECT_EQ(Panel(), nullptr);
    Put(L"EnableAudioControl", -1L);
    ASSERT_NE(Panel(), nullptr);
    EXPECT_TRUE(GetWindowLongW(Panel(), GWL_STYLE) & WS_VISIBLE);
    RECT panel;
    RECT client;
    SetWindowPos(Window(), nullptr, 0, 0, 500, 400, SWP_NOMOVE);
    GetWindowRect(Panel(), &panel);
    MapWindowPoints(nullptr, Window(), reinterpret_cast<POINT*>(&panel), 2);
    GetClientRect(Window(), &client);
    EXPECT_EQ(panel.bottom, client.bottom - 4);

    Mouse(WM_LBUTTONDOWN, 10);
    EXPECT_TRUE(Control().Properties().voiceMute);
    EXPECT_TRUE(Control().Session().param.voiceMute.Get());
    Mouse(WM_LBUTTONDBLCLK, 10);
    EXPECT_FALSE(Control().Session().param.voiceMute.Get());

    Mouse(WM_LBUTTONDOWN, 87);
    EXPECT_EQ(Volume(), 50);
    Mouse(WM_MOUSEMOVE, -300);
    EXPECT_EQ(Volume(), 0);
    Mouse(WM_LBUTTONUP, -300);
    Mouse(WM_MOUSEMOVE, 87);
    EXPECT_EQ(Volume(), 0) << "the button is up";
    EXPECT_EQ(Control().Properties().voiceVolume, 0);

    Put(L"EnableAudioControl", 0L);
    EXPECT_EQ(Panel(), nullptr);
}

}  // namespace
}  // namespace norix::test
