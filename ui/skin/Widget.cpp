#include "ui/skin/Widget.h"

#include <windowsx.h>

#include <utility>

#include "ui/skin/WidgetAccessible.h"

namespace norix {

Widget::Widget() = default;

Widget::~Widget() {
    if (m_accessible) m_accessible->Disconnect();
}

bool Widget::Create(HWND parent, const Skin& skin, const RECT& bounds, const wchar_t* name) {
    m_skin = &skin;
    m_name = name;
    m_hot = m_pressed = m_keyHeld = false;
    const DWORD style = WS_CHILD | WS_VISIBLE | (TakesFocus() ? WS_TABSTOP : 0);
    return CWnd::Create(name, style, 0, bounds, parent);
}

void Widget::Enable(bool enable) {
    if (!HasWindow() || (IsWindowEnabled(Handle()) != FALSE) == enable) return;
    EnableWindow(Handle(), enable);
    Redraw();
    Tell(EVENT_OBJECT_STATECHANGE);
}

void Widget::SetName(const wchar_t* name) {
    if (m_name == name) return;
    m_name = name;
    if (HasWindow()) SetWindowTextW(Handle(), name);
    Tell(EVENT_OBJECT_NAMECHANGE);
}

WidgetState Widget::State() const {
    if (!IsWindowEnabled(Handle())) return WidgetState::Disabled;
    if (m_pressed || m_keyHeld) return WidgetState::Pressed;
    if (m_hot) return WidgetState::Hot;
    return HasFocus() ? WidgetState::Focused : WidgetState::Normal;
}

LONG Widget::AccessibleState() const {
    LONG state = STATE_SYSTEM_FOCUSABLE;
    if (!IsWindowEnabled(Handle())) return STATE_SYSTEM_UNAVAILABLE;
    if (HasFocus()) state |= STATE_SYSTEM_FOCUSED;
    if (m_hot) state |= STATE_SYSTEM_HOTTRACKED;
    if (m_pressed || m_keyHeld) state |= STATE_SYSTEM_PRESSED;
    return state;
}

bool Widget::IsInside(POINT at) const {
    RECT client = {};
    GetClientRect(Handle(), &client);
    return PtInRect(&client, at) != FALSE;
}

void Widget::Redraw() {
    if (HasWindow()) InvalidateRect(Handle(), nullptr, FALSE);
}

void Widget::Tell(DWORD event) const {
    if (HasWindow()) NotifyWinEvent(event, Handle(), OBJID_CLIENT, CHILDID_SELF);
}

void Widget::SetKeyHeld(bool held) {
    if (std::exchange(m_keyHeld, held) != held) Redraw();
}

void Widget::Paint() const {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(Handle(), &paint);
    RECT client = {};
    GetClientRect(Handle(), &client);
    Canvas canvas(dc, {client.right, client.bottom});
    Draw(canvas);
    canvas.CopyTo(dc);
    EndPaint(Handle(), &paint);
}

// The release comes last: it may end the widget's window.
void Widget::EndPress(bool inside) {
    if (!std::exchange(m_pressed, false)) return;
    Redraw();
    if (GetCapture() == Handle()) ReleaseCapture();
    OnRelease(inside);
}

/// To the next widget beside it; at the end, to the window that all of them stand in.
bool Widget::MoveFocus(bool backwards) const {
    const HWND panel = GetParent(Handle());
    const HWND first = GetNextDlgTabItem(panel, nullptr, FALSE);
    const HWND last = GetNextDlgTabItem(panel, nullptr, TRUE);
    const bool leaves = Handle() == (backwards ? first : last);
    SetFocus(leaves ? GetParent(panel) : GetNextDlgTabItem(panel, Handle(), backwards));
    return true;
}

LRESULT Widget::GetAccessible(WPARAM wParam) {
    if (!m_accessible) m_accessible = WidgetAccessible::Make(*this);
    return m_accessible ? LresultFromObject(IID_IAccessible, wParam, m_accessible.Get()) : 0;
}

LRESULT Widget::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    const POINT at = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    switch (message) {
        case WM_PAINT:
            Paint();
            return 0;
        case WM_ERASEBKGND:
            return 1;
        case WM_GETDLGCODE:
            return DLGC_WANTARROWS | DLGC_WANTCHARS;
        case WM_GETOBJECT:
            if (static_cast<LONG>(lParam) == OBJID_CLIENT) return GetAccessible(wParam);
            break;
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
            if (!TakesFocus()) return 0;
            SetFocus(Handle());
            SetCapture(Handle());
            m_pressed = true;
            Redraw();
            OnPress(at);
            return 0;
        case WM_MOUSEMOVE:
            if (m_pressed) {
                OnDrag(at);
            } else if (!std::exchange(m_hot, true)) {
                TRACKMOUSEEVENT track = {sizeof track, TME_LEAVE, Handle(), 0};
                TrackMouseEvent(&track);
                Redraw();
            }
            return 0;
        case WM_MOUSELEAVE:
            if (std::exchange(m_hot, false)) Redraw();
            return 0;
        case WM_LBUTTONUP:
            EndPress(IsInside(at));
            return 0;
        case WM_CAPTURECHANGED:
            EndPress(false);
            return 0;
        case WM_MOUSEWHEEL: {
            m_wheel += GET_WHEEL_DELTA_WPARAM(wParam);
            const int steps = m_wheel / WHEEL_DELTA;
            m_wheel %= WHEEL_DELTA;
            if (steps != 0) OnWheel(steps);
            return 0;
        }
        case WM_KEYDOWN:
            if (wParam == VK_TAB && MoveFocus(GetKeyState(VK_SHIFT) < 0)) return 0;
            if (OnKey(wParam, true)) return 0;
            break;
        case WM_KEYUP:
            if (OnKey(wParam, false)) return 0;
            break;
        case WM_SETFOCUS:
            Redraw();
            Tell(EVENT_OBJECT_FOCUS);
            return 0;
        case WM_KILLFOCUS:
            Redraw();
            OnFocusLost();
            return 0;
        case WM_ENABLE:
            EndPress(false);
            break;
        default:
            break;
    }
    return CWnd::OnMessage(message, wParam, lParam);
}

}  // namespace norix
