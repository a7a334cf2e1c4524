#include "ui/FormDialog.h"

#include <algorithm>
#include <utility>

#include "util/ScreenDpi.h"

namespace norix {

namespace {

constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
constexpr UINT kDpiChanged = 0x02E0;  // WM_DPICHANGED, which headers for Windows 7 lack

}  // namespace

bool FormDialog::Open(HWND over, const std::wstring& title, Form form) {
    if (HasWindow()) {
        SetForegroundWindow(Handle());
        return true;
    }
    m_form = std::move(form);
    if (!Create(over, kStyle)) return false;
    SetWindowTextW(Handle(), title.c_str());
    Centre(over);
    ShowWindow(Handle(), SW_SHOW);
    OnOpened();
    return HasWindow();
}

bool FormDialog::OnInit() {
    const int dpi = util::DpiOf(Handle());
    if (!m_controls.Fill(Handle(), std::move(m_form), dpi)) return false;
    Resize(0);
    return true;
}

/// To the size of the form; anew laid out where a resolution is given.
void FormDialog::Resize(int dpi) {
    if (dpi > 0) m_controls.Place(dpi);
    RECT bounds = {0, 0, m_controls.Size().width, m_controls.Size().height};
    AdjustWindowRectEx(&bounds, kStyle, FALSE, WS_EX_DLGMODALFRAME);
    SetWindowPos(Handle(), nullptr, 0, 0, bounds.right - bounds.left, bounds.bottom - bounds.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void FormDialog::Centre(HWND over) {
    RECT area;
    RECT own;
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof(monitor);
    if (!GetWindowRect(over, &area) || !GetWindowRect(Handle(), &own) ||
        !GetMonitorInfoW(MonitorFromWindow(over, MONITOR_DEFAULTTONEAREST), &monitor)) {
        return;
    }
    const LONG width = own.right - own.left;
    const LONG height = own.bottom - own.top;
    const RECT& work = monitor.rcWork;
    // The caption stays on the screen whatever else does not.
    const LONG x = std::max(std::min((area.left + area.right - width) / 2, work.right - width), work.left);
    const LONG y = std::max(std::min((area.top + area.bottom - height) / 2, work.bottom - height), work.top);
    SetWindowPos(Handle(), nullptr, static_cast<int>(x), static_cast<int>(y), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void FormDialog::Cancel() {
    Destroy();
    OnClosed();
}

bool FormDialog::OnMessage(UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
        case WM_CLOSE:
            Cancel();
            return true;
        case WM_ENDSESSION:
            if (wParam != FALSE) Cancel();
            return true;
        case kDpiChanged:
            Resize(LOWORD(wParam));
            return true;
        default:
            return false;
    }
}

}  // namespace norix
