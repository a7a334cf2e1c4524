#include "ui/skin/BitmapSlider.h"

#include <algorithm>
#include <cwchar>

namespace norix {
namespace {

constexpr int kFull = 100;
constexpr int kWheelStep = 5;
constexpr int kPage = 10;

}  // namespace

void BitmapSlider::Show(int value) {
    const int shown = std::clamp(value, 0, kFull);
    if (shown == m_value) return;
    m_value = shown;
    Redraw();
    Tell(EVENT_OBJECT_VALUECHANGE);
}

// By the user. The listener comes last: it may end the slider's window.
void BitmapSlider::Change(int value) {
    const int wanted = std::clamp(value, 0, kFull);
    if (wanted == m_value) return;
    Show(wanted);
    m_changed(wanted);
}

/// How far the thumb's middle goes, in pixels.
int BitmapSlider::Travel() const {
    RECT client = {};
    GetClientRect(Handle(), &client);
    return std::max(static_cast<int>(client.right) - Look().Scaled(Skin::kThumb.cx), 1);
}

void BitmapSlider::Draw(Canvas& canvas) const {
    Look().DrawSlider(canvas, State(), Look().Scaled(Skin::kThumb.cx) / 2 + Travel() * m_value / kFull);
}

void BitmapSlider::OnDrag(POINT at) {
    const int travel = Travel();
    const int along = static_cast<int>(at.x) - Look().Scaled(Skin::kThumb.cx) / 2;
    Change((std::clamp(along, 0, travel) * kFull + travel / 2) / travel);
}

void BitmapSlider::OnWheel(int steps) {
    Change(m_value + steps * kWheelStep);
}

bool BitmapSlider::OnKey(WPARAM key, bool down) {
    int value = m_value;
    switch (key) {
        case VK_LEFT:
        case VK_DOWN:
            --value;
            break;
        case VK_RIGHT:
        case VK_UP:
            ++value;
            break;
        case VK_NEXT:
            value -= kPage;
            break;
        case VK_PRIOR:
            value += kPage;
            break;
        case VK_HOME:
            value = 0;
            break;
        case VK_END:
            value = kFull;
            break;
        default:
            return false;
    }
    if (down) Change(value);
    return true;
}

bool BitmapSlider::SetValue(const std::wstring& text) {
    wchar_t* end = nullptr;
    const long value = std::wcstol(text.c_str(), &end, 10);
    if (end == text.c_str() || value < 0 || value > kFull) return false;
    Change(static_cast<int>(value));
    return true;
}

}  // namespace norix
