// The audio panel, and what mute and volume do to the connection's parameters.

#include <windows.h>

#include <oleacc.h>

#include "tests/windows/control/ControlFixture.h"
#include "util/Handles.h"

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
    HWND Widget(const wchar_t* name) { return FindWindowExW(Panel(), nullptr, nullptr, name); }
    static void Mouse(HWND widget, UINT message, int x) {
        SendMessageW(widget, message, MK_LBUTTON, MAKELPARAM(x, 10));
    }
    static void Click(HWND widget) {
        Mouse(widget, WM_LBUTTONDOWN, 10);
        Mouse(widget, WM_LBUTTONUP, 10);
    }
    static void Key(HWND widget, WPARAM key) {
        SendMessageW(widget, WM_KEYDOWN, key, 0);
        SendMessageW(widget, WM_KEYUP, key, 0);
    }
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

    const HWND mute = Widget(L"Mute");
    Click(mute);
    EXPECT_TRUE(Control().Properties().voiceMute);
    EXPECT_TRUE(Control().Session().param.voiceMute.Get());
    Mouse(mute, WM_LBUTTONDOWN, 10);
    Mouse(mute, WM_LBUTTONUP, 500);
    EXPECT_TRUE(Control().Session().param.voiceMute.Get()) << "let go elsewhere";
    Key(mute, VK_SPACE);
    EXPECT_FALSE(Control().Session().param.voiceMute.Get());
    Key(mute, VK_RETURN);
    EXPECT_TRUE(Control().Session().param.voiceMute.Get());

    const HWND volume = Widget(L"Volume");
    RECT track;
    GetClientRect(volume, &track);
    Mouse(volume, WM_LBUTTONDOWN, track.right / 2);
    EXPECT_EQ(Volume(), 50);
    Mouse(volume, WM_MOUSEMOVE, -300);
    EXPECT_EQ(Volume(), 0);
    Mouse(volume, WM_LBUTTONUP, -300);
    Mouse(volume, WM_MOUSEMOVE, track.right / 2);
    EXPECT_EQ(Volume(), 0) << "the button is up";
    EXPECT_EQ(Control().Properties().voiceVolume, 0);
    for (const auto& [key, value] :
         {std::pair(VK_END, 100), {VK_NEXT, 90}, {VK_LEFT, 89}, {VK_UP, 90}, {VK_HOME, 0}}) {
        Key(volume, static_cast<WPARAM>(key));
        EXPECT_EQ(Volume(), value);
    }
    SendMessageW(volume, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA / 2), 0);
    EXPECT_EQ(Volume(), 0);
    SendMessageW(volume, WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA / 2), 0);
    EXPECT_EQ(Volume(), 5) << "two halves of a step";

    Put(L"EnableAudioControl", 0L);
    EXPECT_EQ(Panel(), nullptr);
}

// ---- As screen readers see it

struct Reader {
    explicit Reader(HWND widget) {
        AccessibleObjectFromWindow(widget, static_cast<DWORD>(OBJID_CLIENT), IID_IAccessible,
                                   reinterpret_cast<void**>(object.GetAddressOf()));
    }
    static VARIANT Self() {
        VARIANT self;
        self.vt = VT_I4;
        self.lVal = CHILDID_SELF;
        return self;
    }
    std::wstring Text(HRESULT (STDMETHODCALLTYPE IAccessible::*get)(VARIANT, BSTR*)) {
        BSTR text = nullptr;
        (object.Get()->*get)(Self(), &text);
        const std::wstring copy = text ? text : L"";
        SysFreeString(text);
        return copy;
    }
    LONG Number(HRESULT (STDMETHODCALLTYPE IAccessible::*get)(VARIANT, VARIANT*)) {
        VARIANT number = {};
        (object.Get()->*get)(Self(), &number);
        return number.lVal;
    }
    Microsoft::WRL::ComPtr<IAccessible> object;
};

TEST_F(TheSound, PanelTellsScreenReadersWhatItIs) {
    Create();
    Put(L"VoiceVolume", 30L);
    Put(L"EnableAudioControl", -1L);
    Reader volume(Widget(L"Volume"));
    ASSERT_TRUE(volume.object);
    EXPECT_EQ(volume.Text(&IAccessible::get_accName), L"Volume");
    EXPECT_EQ(volume.Text(&IAccessible::get_accValue), L"30%");
    EXPECT_EQ(volume.Number(&IAccessible::get_accRole), ROLE_SYSTEM_SLIDER);
    const util::UniqueBstr wanted(SysAllocString(L"45"));
    EXPECT_EQ(volume.object->put_accValue(Reader::Self(), wanted.Get()), S_OK);
    EXPECT_EQ(Volume(), 45);

    Reader mute(Widget(L"Mute"));
    ASSERT_TRUE(mute.object);
    EXPECT_EQ(mute.Number(&IAccessible::get_accRole), ROLE_SYSTEM_CHECKBUTTON);
    EXPECT_EQ(mute.object->accDoDefaultAction(Reader::Self()), S_OK);
    EXPECT_TRUE(Control().Properties().voiceMute);
    EXPECT_TRUE(mute.Number(&IAccessible::get_accState) & STATE_SYSTEM_CHECKED);
    Reader meter(Widget(L"Voice"));
    EXPECT_EQ(meter.Number(&IAccessible::get_accRole), ROLE_SYSTEM_PROGRESSBAR);

    Put(L"EnableAudioControl", 0L);
    EXPECT_EQ(mute.object->accDoDefaultAction(Reader::Self()), CO_E_OBJNOTCONNECTED);
    EXPECT_TRUE(Control().Properties().voiceMute);
}

}  // namespace
}  // namespace norix::test
