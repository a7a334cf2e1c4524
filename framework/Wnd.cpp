#include "framework/Wnd.h"

#include "framework/Module.h"
#include "util/FpuGuard.h"

namespace framework {

namespace {
struct ClassName {
    explicit ClassName(WindowKind kind) {
        lstrcpynW(text, COleControlModule::Get().WindowClass(), kLongest);
        if (kind == WindowKind::kBox) lstrcatW(text, L"Box");
    }
    static constexpr int kLongest = 64;
    wchar_t text[kLongest + 4];
};

bool RegisterWindowClass(HINSTANCE instance, WNDPROC procedure, WindowKind kind) {
    const ClassName name(kind);
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.style = CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW;
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    windowClass.lpszClassName = name.text;
    if (kind == WindowKind::kBox) {
        windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
        windowClass.hIcon = LoadIconW(nullptr, reinterpret_cast<LPCWSTR>(IDI_APPLICATION));
    }
    return RegisterClassExW(&windowClass) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}
}  // namespace

CWnd::~CWnd() {
    DestroyWindow();
}

bool CWnd::Create(const wchar_t* title, DWORD style, DWORD exStyle, const RECT& bounds, HWND parent,
                  WindowKind kind) {
    const HINSTANCE instance = COleControlModule::Get().Instance();
    if (m_window != nullptr || !RegisterWindowClass(instance, &CWnd::WindowProc, kind)) return false;
    CreateWindowExW(exStyle, ClassName(kind).text, title, style, bounds.left, bounds.top,
                    bounds.right - bounds.left, bounds.bottom - bounds.top, parent, nullptr, instance, this);
    // Not the return value: a handler of WM_CREATE may already have destroyed the window again.
    return m_window != nullptr;
}

void CWnd::DestroyWindow() {
    if (m_window != nullptr) ::DestroyWindow(m_window);
}

void CWnd::UnregisterWindowClasses(HINSTANCE instance) {
    for (const WindowKind kind : {WindowKind::kPlain, WindowKind::kBox})
        UnregisterClassW(ClassName(kind).text, instance);
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
