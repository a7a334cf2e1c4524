#include "control/view/FullScreen.h"

#include <utility>

namespace norix {
namespace {

RECT MonitorOf(HWND window) {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    if (GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &info)) return info.rcMonitor;
    return {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
}

void MoveTo(HWND window, HWND after, const RECT& place, UINT flags) {
    SetWindowPos(window, after, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_FRAMECHANGED | flags);
}

}  // namespace

bool FullScreen::Enter(HWND window) {
    const HWND parent = GetAncestor(window, GA_PARENT);
    const LONG_PTR style = GetWindowLongPtrW(window, GWL_STYLE);
    if (IsOn() || (style & WS_CHILD) == 0 || parent == nullptr || !IsWindowVisible(window)) return false;
    m_parent = parent;
    m_style = style;
    m_exStyle = GetWindowLongPtrW(window, GWL_EXSTYLE);
    GetWindowRect(window, &m_place);
    MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&m_place), 2);
    m_above = GetWindow(window, GW_HWNDPREV);
    m_window = window;

    const RECT monitor = MonitorOf(window);
    const HWND top = GetAncestor(parent, GA_ROOT);
    m_region = util::UniqueRegion(CreateRectRgn(0, 0, 0, 0));
    if (GetWindowRgn(window, m_region.Get()) == ERROR) m_region.Reset();
    SetWindowRgn(window, nullptr, FALSE);
    SetParent(window, nullptr);
    SetWindowLongPtrW(window, GWL_STYLE,
                      (style & ~static_cast<LONG_PTR>(WS_CHILD)) | static_cast<LONG_PTR>(WS_POPUP));
    // So that it goes when the host's window goes.
    SetWindowLongPtrW(window, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(top));
    MoveTo(window, HWND_TOPMOST, monitor, SWP_SHOWWINDOW);
    SetForegroundWindow(window);
    SetFocus(window);
    return true;
}

bool FullScreen::Leave() {
    // First: the messages that follow must find it off.
    const HWND window = std::exchange(m_window, nullptr);
    if (window == nullptr || !IsWindow(window)) return true;
    // The system hides it together with a host that is minimised: that is not the host's wish.
    const bool visible = IsWindowVisible(window) || IsIconic(GetAncestor(m_parent, GA_ROOT));
    ShowWindow(window, SW_HIDE);
    SetWindowPos(window, HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    if (!IsWindow(m_parent)) return false;
    const LONG_PTR hidden = m_style & ~static_cast<LONG_PTR>(WS_VISIBLE);
    SetWindowLongPtrW(window, GWLP_HWNDPARENT, 0);
    SetWindowLongPtrW(window, GWL_STYLE, hidden);
    SetWindowLongPtrW(window, GWL_EXSTYLE, m_exStyle);
    SetParent(window, m_parent);
    const bool covered = IsWindow(m_above) && GetAncestor(m_above, GA_PARENT) == m_parent;
    MoveTo(window, covered ? m_above : HWND_TOP, m_place, SWP_NOACTIVATE | (visible ? SWP_SHOWWINDOW : 0));
    SetWindowRgn(window, m_region.Release(), TRUE);  // the system takes it over
    SetForegroundWindow(GetAncestor(m_parent, GA_ROOT));
    if (visible) SetFocus(window);
    return true;
}

}  // namespace norix
