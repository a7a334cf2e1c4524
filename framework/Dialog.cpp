#include "framework/Dialog.h"

#include <utility>

#include "framework/Module.h"
#include "util/FpuGuard.h"

namespace framework {

namespace {

/// Marks the dialogs whose keys are watched.
constexpr wchar_t kMark[] = L"NorixDialogKeys";

// DLGTEMPLATE, then a menu, a class and a title, none of them given.
struct EmptyTemplate {
    alignas(DWORD) DLGTEMPLATE head{};
    WORD menu = 0;
    WORD windowClass = 0;
    WORD title = 0;
};

}  // namespace

CDialog::~CDialog() {
    Destroy();
}

bool CDialog::Create(HWND parent, DWORD style, DWORD exStyle) {
    if (HasWindow()) return false;
    EmptyTemplate form;
    form.head.style = style;
    form.head.dwExtendedStyle = exStyle;
    m_initialised = false;
    const HWND window = CreateDialogIndirectParamW(COleControlModule::Get().Instance(), &form.head, parent,
                                                   &CDialog::Procedure, reinterpret_cast<LPARAM>(this));
    // Not the return value alone: OnInit may have destroyed it again.
    if (window == nullptr || m_window == nullptr) return false;
    if (m_initialised && ((style & WS_CHILD) != 0 || WatchKeys())) return true;
    Destroy();
    return false;
}

void CDialog::Destroy() {
    const HWND window = m_window;
    if (window == nullptr) return;
    Detach();
    DestroyWindow(window);
}

/// From here on the window knows nothing of this object.
void CDialog::Detach() {
    SetWindowLongPtrW(m_window, DWLP_USER, 0);
    RemovePropW(m_window, kMark);
    if (const HHOOK keys = std::exchange(m_keys, nullptr)) UnhookWindowsHookEx(keys);
    m_window = nullptr;
}

bool CDialog::OnMessage(UINT, WPARAM, LPARAM) {
    return false;
}

bool CDialog::WatchKeys() {
    m_keys = SetWindowsHookExW(WH_GETMESSAGE, &CDialog::OnThreadMessage, nullptr, GetCurrentThreadId());
    return m_keys != nullptr && SetPropW(m_window, kMark, m_keys) != FALSE;
}

// Each dialog has a hook of its own; the first one that runs takes the key for whichever dialog it is for.
LRESULT CALLBACK CDialog::OnThreadMessage(int code, WPARAM wParam, LPARAM lParam) {
    auto* const message = reinterpret_cast<MSG*>(lParam);
    if (code == HC_ACTION && wParam == PM_REMOVE && message->message >= WM_KEYFIRST &&
        message->message <= WM_KEYLAST) {
        const HWND dialog = GetAncestor(message->hwnd, GA_ROOT);
        // What it dispatches is done with: the host's loop gets a message that means nothing.
        if (dialog != nullptr && GetPropW(dialog, kMark) != nullptr && IsDialogMessageW(dialog, message))
            *message = {message->hwnd, WM_NULL, 0, 0, message->time, message->pt};
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

bool CDialog::Dispatch(UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    const util::FpuGuard fpu;
    try {
        switch (message) {
            case WM_INITDIALOG:
                m_initialised = OnInit();
                return false;  // the focus goes where OnInit has set it
            case WM_COMMAND:
                OnCommand(LOWORD(wParam), HIWORD(wParam));
                return true;
            default:
                return OnMessage(message, wParam, lParam);
        }
    } catch (...) {
        return false;  // out of memory in a handler: the message is lost, the dialog goes on
    }
}

INT_PTR CALLBACK CDialog::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<CDialog*>(lParam)->m_window = window;
    }
    auto* const self = reinterpret_cast<CDialog*>(GetWindowLongPtrW(window, DWLP_USER));
    if (self == nullptr) return FALSE;
    if (message == WM_NCDESTROY) {
        self->Detach();
        return FALSE;
    }
    return self->Dispatch(message, wParam, lParam) ? TRUE : FALSE;
}

}  // namespace framework
