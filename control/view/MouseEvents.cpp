#include "control/view/MouseEvents.h"

#include <windowsx.h>

#include "control/Events.h"

namespace norix {

using PointEvent = framework::Event<long, long>;

struct MouseEvents::Button {
    const PointEvent& down;
    const PointEvent& up;
    const PointEvent& click;
    const PointEvent& doubleClick;

    static const Button kLeft;
    static const Button kRight;
};

const MouseEvents::Button MouseEvents::Button::kLeft{events::OnMouseDown, events::OnMouseUp,
                                                     events::OnMouseClick, events::OnMouseDbClick};
const MouseEvents::Button MouseEvents::Button::kRight{events::OnRMouseDown, events::OnRMouseUp,
                                                      events::OnRMouseClick, events::OnRMouseDbClick};

bool MouseEvents::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_LBUTTONDOWN:
            Press(Button::kLeft, lParam);
            return true;
        case WM_LBUTTONUP:
            Release(Button::kLeft, lParam);
            return true;
        case WM_LBUTTONDBLCLK:
            DoubleClick(Button::kLeft, lParam);
            return true;
        case WM_RBUTTONDOWN:
            Press(Button::kRight, lParam);
            return true;
        case WM_RBUTTONUP:
            Release(Button::kRight, lParam);
            return true;
        case WM_RBUTTONDBLCLK:
            DoubleClick(Button::kRight, lParam);
            return true;
        case WM_MOUSEMOVE:
            m_host.Fire(events::OnMouseMove, GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
            return true;
        case WM_MOUSEWHEEL:
            Wheel(wParam, lParam);
            return true;
        case WM_CAPTURECHANGED:
            m_pressed = nullptr;
            return true;
        default:
            return false;
    }
}

void MouseEvents::Press(const Button& button, LPARAM position) {
    SetCapture(m_host.Window());
    m_pressed = &button;
    m_host.Fire(button.down, GET_X_LPARAM(position), GET_Y_LPARAM(position));
}

void MouseEvents::Release(const Button& button, LPARAM position) {
    const POINT point = {GET_X_LPARAM(position), GET_Y_LPARAM(position)};
    RECT client = {};
    GetClientRect(m_host.Window(), &client);
    const bool clicked = m_pressed == &button && PtInRect(&client, point);
    m_pressed = nullptr;
    if (GetCapture() == m_host.Window()) ReleaseCapture();
    m_host.Fire(button.up, point.x, point.y);
    if (clicked) m_host.Fire(button.click, point.x, point.y);
}

void MouseEvents::DoubleClick(const Button& button, LPARAM position) {
    SetCapture(m_host.Window());
    m_host.Fire(button.doubleClick, GET_X_LPARAM(position), GET_Y_LPARAM(position));
}

void MouseEvents::Wheel(WPARAM wParam, LPARAM position) {
    POINT point = {GET_X_LPARAM(position), GET_Y_LPARAM(position)};  // the wheel's position is the screen's
    ScreenToClient(m_host.Window(), &point);
    m_host.FireWheel(GET_WHEEL_DELTA_WPARAM(wParam), point.x, point.y);
}

}  // namespace norix
