#include "ui/InfoBox.h"

namespace norix {
namespace {

// The box that is about to be shown on this thread, and the hook that waits for its window.
thread_local InfoBox* t_opening = nullptr;
thread_local HHOOK t_hook = nullptr;

void Unhook() {
    if (t_hook) UnhookWindowsHookEx(t_hook);
    t_hook = nullptr;
    t_opening = nullptr;
}

}  // namespace

// The first window that becomes active after the box is asked for is the box.
LRESULT CALLBACK InfoBox::OnActivation(int code, WPARAM wParam, LPARAM lParam) noexcept {
    if (code == HCBT_ACTIVATE && t_opening) {
        t_opening->m_box = reinterpret_cast<HWND>(wParam);
        Unhook();
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

void InfoBox::Show(HWND owner, const wchar_t* text, const wchar_t* title) {
    if (m_open) return;
    m_open = true;
    t_opening = this;
    t_hook = SetWindowsHookExW(WH_CBT, &OnActivation, nullptr, GetCurrentThreadId());
    MessageBoxW(owner, text, title, MB_OK | MB_ICONINFORMATION);
    if (t_opening == this) Unhook();
    m_box = nullptr;
    m_open = false;
}

void InfoBox::Dismiss() {
    if (m_box) PostMessageW(m_box, WM_COMMAND, IDOK, 0);
}

}  // namespace norix
