#include "ui/skin/BitmapButton.h"

#include <utility>

namespace norix {

void BitmapButton::Show(Glyph glyph, bool on) {
    const bool before = std::exchange(m_on, on);
    if (std::exchange(m_glyph, glyph) == glyph && before == on) return;
    Redraw();
    if (before != on) Tell(EVENT_OBJECT_STATECHANGE);
}

void BitmapButton::Draw(Canvas& canvas) const {
    Look().DrawButton(canvas, State(), m_glyph, m_on);
}

// The action comes last everywhere: it may end the button's window.
void BitmapButton::OnPress(POINT) {
    if (m_kind == Kind::Hold) m_action(true);
}

void BitmapButton::OnRelease(bool inside) {
    if (m_kind == Kind::Hold) return m_action(false);
    if (inside) m_action(true);
}

/// `meant`: the user has let go, rather than lost the button.
void BitmapButton::HoldByKey(bool hold, bool meant) {
    if (std::exchange(m_held, hold) == hold) return;
    SetKeyHeld(hold);
    if (m_kind == Kind::Hold) return m_action(hold);
    if (!hold && meant) m_action(true);
}

bool BitmapButton::OnKey(WPARAM key, bool down) {
    if (key == VK_SPACE) {
        HoldByKey(down, true);
        return true;
    }
    if (key != VK_RETURN) return false;
    if (m_kind == Kind::Hold) {
        HoldByKey(down, true);
    } else if (down) {
        m_action(true);
    }
    return true;
}

void BitmapButton::OnFocusLost() {
    HoldByKey(false, false);
}

LONG BitmapButton::Role() const {
    return m_kind == Kind::Hold ? ROLE_SYSTEM_PUSHBUTTON : ROLE_SYSTEM_CHECKBUTTON;
}

LONG BitmapButton::AccessibleState() const {
    return Widget::AccessibleState() |
           (m_on ? (m_kind == Kind::Hold ? STATE_SYSTEM_PRESSED : STATE_SYSTEM_CHECKED) : 0);
}

std::wstring BitmapButton::DefaultAction() const {
    if (m_kind == Kind::Hold) return L"Press";
    return m_on ? L"Uncheck" : L"Check";
}

// A screen reader can't hold: it presses, and presses again.
void BitmapButton::DoDefaultAction() {
    m_action(m_kind == Kind::Click || !m_on);
}

}  // namespace norix
