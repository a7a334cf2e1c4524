#include "ui/AudioPanel.h"

#include <algorithm>
#include <iterator>

#include "util/Handles.h"

namespace norix {
namespace {

constexpr int kFullVolume = 100;
// At 100 %:
constexpr int kMargin = 4;  // to the parent's edges
constexpr SIZE kSize = {300, 28};
constexpr RECT kMute = {4, 4, 28, 24};
constexpr RECT kVolume = {32, 4, 116, 24};
constexpr RECT kTalk = {128, 4, 152, 24};
constexpr RECT kKeep = {154, 4, 178, 24};
constexpr RECT kLevel = {182, 4, 242, 24};
constexpr RECT kMeter = {248, 10, 296, 18};
constexpr UINT_PTR kMeterTimer = 1;
constexpr UINT kMeterMs = 50;

}  // namespace

AudioPanel::AudioPanel(AudioPanelSink& sink)
    : m_sink(sink),
      m_muteButton(BitmapButton::Kind::Click, Glyph::Speaker, [this](bool) { m_sink.SetMute(!m_view.mute); }),
      m_volumeSlider([this](int volume) { m_sink.SetVolume(volume); }),
      m_talkButton(BitmapButton::Kind::Hold, Glyph::Microphone, [this](bool down) { OnTalk(down); }),
      m_keepButton(BitmapButton::Kind::Click, Glyph::Unlocked, [this](bool) { OnKeepTalking(); }),
      m_levelSlider([this](int level) { m_sink.SetMicrophoneLevel(level); }) {}

bool AudioPanel::Show(HWND parent, int dpi) {
    if (HasWindow()) return true;
    m_skin.emplace(dpi);
    const RECT bounds = {0, 0, m_skin->Scaled(kSize.cx), m_skin->Scaled(kSize.cy)};
    if (!Create(L"", WS_CHILD | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT, bounds, parent))
        return false;
    if (!MakeWidgets()) {
        DestroyWindow();
        return false;
    }
    Refresh();
    Place();
    return true;
}

bool AudioPanel::MakeWidgets() {
    const auto make = [this](Widget& widget, const RECT& at, const wchar_t* name) {
        const RECT scaled = {m_skin->Scaled(at.left), m_skin->Scaled(at.top), m_skin->Scaled(at.right),
                             m_skin->Scaled(at.bottom)};
        return widget.Create(Handle(), *m_skin, scaled, name);
    };
    return make(m_muteButton, kMute, L"Mute") && make(m_volumeSlider, kVolume, L"Volume") &&
           make(m_talkButton, kTalk, L"Talk while held") && make(m_keepButton, kKeep, L"Keep talking") &&
           make(m_levelSlider, kLevel, L"Microphone level") && make(m_meter, kMeter, L"Voice");
}

void AudioPanel::Hide() {
    if (!HasWindow()) return;
    const HWND parent = GetParent(Handle());
    const bool focused = IsChild(Handle(), GetFocus()) != FALSE;
    DestroyWindow();
    if (focused) SetFocus(parent);
}

void AudioPanel::Place() {
    RECT client;
    if (!HasWindow() || !GetClientRect(GetParent(Handle()), &client)) return;
    const int top = std::max(static_cast<int>(client.bottom) - m_skin->Scaled(kSize.cy) - kMargin, 0);
    SetWindowPos(Handle(), HWND_TOP, kMargin, top, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

void AudioPanel::Update(const AudioPanelView& view) {
    m_view = view;
    if (!view.talking) m_kept = false;
    if (HasWindow()) Refresh();
}

void AudioPanel::Refresh() {
    m_muteButton.Show(m_view.mute ? Glyph::SpeakerMuted : Glyph::Speaker, m_view.mute);
    m_volumeSlider.Show(m_view.volume < 0 ? kFullVolume : m_view.volume);
    m_talkButton.Show(Glyph::Microphone, m_view.talking);
    m_keepButton.Show(m_kept ? Glyph::Locked : Glyph::Unlocked, m_kept);
    m_levelSlider.Enable(m_view.microphoneLevel.has_value());
    m_levelSlider.Show(m_view.microphoneLevel.value_or(0));
    if (m_view.talking) {
        SetTimer(Handle(), kMeterTimer, kMeterMs, nullptr);
    } else {
        KillTimer(Handle(), kMeterTimer);
        m_meter.Show(0);
    }
}

// Held, or pressed again where it is kept on. The sink comes last here as well.
void AudioPanel::OnTalk(bool down) {
    const bool talk = down && !m_view.talking;
    m_kept = false;
    m_sink.SetTalk(talk);
}

void AudioPanel::OnKeepTalking() {
    m_kept = !m_kept && !m_view.talking;
    const bool talk = m_kept;
    Refresh();
    m_sink.SetTalk(talk);
}

bool AudioPanel::TranslateKey(const MSG& message) {
    if (!HasWindow() || (message.message != WM_KEYDOWN && message.message != WM_KEYUP)) return false;
    const HWND focus = GetFocus();
    const bool inside = IsChild(Handle(), focus) != FALSE;
    if (message.wParam == VK_TAB) {
        if (message.message == WM_KEYUP || GetKeyState(VK_CONTROL) < 0) return false;
        const bool backwards = GetKeyState(VK_SHIFT) < 0;
        const HWND first = GetNextDlgTabItem(Handle(), nullptr, FALSE);
        const HWND last = GetNextDlgTabItem(Handle(), nullptr, TRUE);
        // Beyond its ends the container goes on; from the control, forwards only leads in.
        if (inside && focus == (backwards ? first : last)) return false;
        if (!inside && (backwards || focus != GetParent(Handle()))) return false;
        SetFocus(inside ? GetNextDlgTabItem(Handle(), focus, backwards) : first);
        return true;
    }
    static constexpr WPARAM kTheirs[] = {VK_SPACE, VK_RETURN, VK_LEFT, VK_RIGHT, VK_UP,
                                         VK_DOWN,  VK_PRIOR,  VK_NEXT, VK_HOME,  VK_END};
    if (!inside || std::find(std::begin(kTheirs), std::end(kTheirs), message.wParam) == std::end(kTheirs))
        return false;
    SendMessageW(focus, message.message, message.wParam, message.lParam);
    return true;
}

LRESULT AudioPanel::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_PAINT: {
            PAINTSTRUCT paint;
            const HDC dc = BeginPaint(Handle(), &paint);
            const util::UniqueBrush brush(CreateSolidBrush(Skin::Back()));
            FillRect(dc, &paint.rcPaint, brush.Get());
            EndPaint(Handle(), &paint);
            return 0;
        }
        case WM_ERASEBKGND:
            return 1;
        case WM_SETTINGCHANGE:
        case WM_SYSCOLORCHANGE:
            RedrawWindow(Handle(), nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
            return 0;
        case WM_TIMER:
            if (wParam == kMeterTimer) m_meter.Show(m_sink.VoiceLevel());
            return 0;
        default:
            return CWnd::OnMessage(message, wParam, lParam);
    }
}

}  // namespace norix
