#include "framework/Wnd.h"

#include "framework/Module.h"
#include "util/FpuGuard.h"

namespace framework {

namespace {
bool RegisterWindowClass(HINSTANCE instance, WNDPROC procedure) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW;
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    windowClass.lpszClassName = COleControlModule::Get().WindowClass();
    return RegisterClassExW(&windowClass) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}
}  // namespace

CWnd::~CWnd() {
    DestroyWindow();
}

bool CWnd::Create(const wchar_t* title, DWORD style, DWORD exStyle, const RECT& bounds, HWND parent) {
    const HINSTANCE instance = COleControlModule::Get().Instance();
    if (m_window != nullptr || !RegisterWindowClass(instance, &CWnd::WindowProc)) return false;
    CreateWindowExW(exStyle, COleControlModule::Get().WindowClass(), title, style, bounds.left, bounds.top,
                    bounds.right - bounds.left, bounds.bottom - bounds.top, parent, nullptr, instance, this);
    // Not the return value: a handler of WM_CREATE may already have destroyed the window again.
    return m_window != nullptr;
}

void CWnd::DestroyWindow() {
    if (m_window != nullptr) ::DestroyWindow(m_window);
}

void CWnd::UnregisterWindowClass(HINSTANCE instance) {
    UnregisterClassW(COleControlModule::Get().WindowClass(), instance);
}

LRESULT CWnd::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcW(m_window, message, wParam, lParam);
}

LRESULT CWnd::Dispatch(UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    const util::FpuGuard fpu;
    try {
        return OnMessage(message, wParam, lParam);
    } catch (...) {
        // Out of memory in a handler: the message is lost, the window goes on.
        return message == WM_CREATE ? -1 : 0;
    }
}

LRESULT CALLBACK CWnd::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* self = static_cast<CWnd*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
        self->m_window = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* self = reinterpret_cast<CWnd*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    self->EnterMessage();
    const LRESULT result = self->Dispatch(message, wParam, lParam);
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        self->m_window = nullptr;
    }
    self->LeaveMessage();
    return result;
}

}  // namespace framework
