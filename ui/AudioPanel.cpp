#include "ui/AudioPanel.h"

#include <windowsx.h>

#include <algorithm>

#include "util/Handles.h"

namespace norix {
namespace {

constexpr int kFullVolume = 100;
constexpr int kMargin = 4;  // to the parent's edges
constexpr SIZE kSize = {148, 24};
constexpr int kButtonRight = 26;  // the button is left of it, the slider right
constexpr int kTrackLeft = 36;
constexpr int kTrackRight = 138;
constexpr int kThumbWidth = 8;
constexpr COLORREF kBack = RGB(48, 48, 48);
constexpr COLORREF kFore = RGB(224, 224, 224);
constexpr COLORREF kTrack = RGB(112, 112, 112);
constexpr COLORREF kMuted = RGB(224, 64, 64);

void Fill(HDC dc, const RECT& area, COLORREF colour) {
    const util::UniqueBrush brush(CreateSolidBrush(colour));
    FillRect(dc, &area, brush.Get());
}

int XOfVolume(int volume) {
    return kTrackLeft + (kTrackRight - kTrackLeft) * volume / kFullVolume;
}

// A loudspeaker; crossed out when muted, with waves when not.
void DrawSpeaker(HDC dc, bool mute) {
    const util::UniqueBrush brush(CreateSolidBrush(kFore));
    const util::UniquePen pen(CreatePen(PS_SOLID, 1, kFore));
    const util::UniquePen mark(CreatePen(PS_SOLID, 2, mute ? kMuted : kFore));
    const util::SelectGuard selectedBrush(dc, brush.Get());
    const util::SelectGuard selectedPen(dc, pen.Get());
    const POINT speaker[] = {{5, 9}, {8, 9}, {13, 4}, {13, 19}, {8, 14}, {5, 14}};
    Polygon(dc, speaker, ARRAYSIZE(speaker));
    const util::SelectGuard selectedMark(dc, mark.Get());
    if (mute) {
        MoveToEx(dc, 16, 8, nullptr);
        LineTo(dc, 23, 16);
        MoveToEx(dc, 23, 8, nullptr);
        LineTo(dc, 16, 16);
    } else {
        Arc(dc, 10, 6, 20, 18, 18, 18, 18, 6);
    }
}

}  // namespace

bool AudioPanel::Show(HWND parent) {
    if (HasWindow()) return true;
    m_sliding = false;
    const RECT bounds = {0, 0, kSize.cx, kSize.cy};
    if (!Create(L"", WS_CHILD | WS_CLIPSIBLINGS, 0, bounds, parent)) return false;
    Place();
    return true;
}

void AudioPanel::Place() {
    RECT client;
    if (!HasWindow() || !GetClientRect(GetParent(Handle()), &client)) return;
    const int top = std::max(static_cast<int>(client.bottom - kSize.cy) - kMargin, 0);
    SetWindowPos(Handle(), HWND_TOP, kMargin, top, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

void AudioPanel::Update(bool mute, int volume) {
    m_mute = mute;
    m_volume = volume < 0 ? kFullVolume : std::min(volume, kFullVolume);
    if (HasWindow()) InvalidateRect(Handle(), nullptr, FALSE);
}

LRESULT AudioPanel::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_PAINT:
            Paint();
            return 0;
        case WM_ERASEBKGND:
            return 1;
        case WM_MOUSEACTIVATE:
            return MA_NOACTIVATE;
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
            Press({GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)});
            return 0;
        case WM_MOUSEMOVE:
            if (m_sliding) Slide(GET_X_LPARAM(lParam));
            return 0;
        case WM_LBUTTONUP:
            if (m_sliding) ReleaseCapture();
            return 0;
        case WM_CAPTURECHANGED:
            m_sliding = false;
            return 0;
        default:
            return CWnd::OnMessage(message, wParam, lParam);
    }
}

// The sink comes last in both: it may hide the panel.
void AudioPanel::Press(POINT at) {
    if (at.x < kButtonRight) {
        Update(!m_mute, m_volume);
        m_sink.SetMute(m_mute);
        return;
    }
    SetCapture(Handle());
    m_sliding = true;
    Slide(at.x);
}

void AudioPanel::Slide(int x) {
    const int inside = std::clamp(x, kTrackLeft, kTrackRight) - kTrackLeft;
    const int volume = inside * kFullVolume / (kTrackRight - kTrackLeft);
    if (volume == m_volume) return;
    Update(m_mute, volume);
    m_sink.SetVolume(volume);
}

void AudioPanel::Paint() const {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(Handle(), &paint);
    // Drawn aside first, since it lies over a moving picture.
    const util::UniqueMemoryDc memory(CreateCompatibleDC(dc));
    const util::UniqueBitmap bitmap(CreateCompatibleBitmap(dc, kSize.cx, kSize.cy));
    if (memory && bitmap) {
        const util::SelectGuard selected(memory.Get(), bitmap.Get());
        Draw(memory.Get());
        BitBlt(dc, 0, 0, kSize.cx, kSize.cy, memory.Get(), 0, 0, SRCCOPY);
    }
    EndPaint(Handle(), &paint);
}

void AudioPanel::Draw(HDC dc) const {
    Fill(dc, {0, 0, kSize.cx, kSize.cy}, kBack);
    DrawSpeaker(dc, m_mute);
    const int thumb = XOfVolume(m_volume);
    const int middle = kSize.cy / 2;
    Fill(dc, {kTrackLeft, middle - 1, kTrackRight, middle + 1}, kTrack);
    Fill(dc, {kTrackLeft, middle - 1, thumb, middle + 1}, m_mute ? kTrack : kFore);
    Fill(dc, {thumb - kThumbWidth / 2, 5, thumb + kThumbWidth / 2, kSize.cy - 5}, kFore);
}

}  // namespace norix
