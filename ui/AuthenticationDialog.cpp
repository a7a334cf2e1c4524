#include "ui/AuthenticationDialog.h"

#include "ui/resource.h"

namespace norix {

namespace {

struct DialogState {
    const std::wstring& server;
    const std::wstring& page;
    Credentials credentials;
};

std::wstring ReadText(HWND dialog, int control) {
    const HWND edit = GetDlgItem(dialog, control);
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(edit)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(GetWindowTextW(edit, text.data(), static_cast<int>(text.size()))));
    return text;
}

void CentreOver(HWND dialog, HWND owner) {
    RECT area;
    RECT size;
    if (owner == nullptr || !GetWindowRect(owner, &area) || !GetWindowRect(dialog, &size)) return;
    const int x = (area.left + area.right - (size.right - size.left)) / 2;
    const int y = (area.top + area.bottom - (size.bottom - size.top)) / 2;
    SetWindowPos(dialog, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void OnInitDialog(HWND dialog, DialogState& state) {
    SetDlgItemTextW(dialog, IDC_AUTHENTICATION_SERVER, state.server.c_str());
    SetDlgItemTextW(dialog, IDC_AUTHENTICATION_PAGE, state.page.c_str());
    if (!state.page.empty()) SetDlgItemTextW(dialog, IDC_AUTHENTICATION_PAGE_LABEL, L"For page:");
    SetDlgItemTextW(dialog, IDC_AUTHENTICATION_USER, state.credentials.user.c_str());
    SetDlgItemTextW(dialog, IDC_AUTHENTICATION_PASSWORD, state.credentials.password.c_str());
    CentreOver(dialog, GetParent(dialog));
}

INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    auto* state = reinterpret_cast<DialogState*>(GetWindowLongPtrW(dialog, DWLP_USER));
    switch (message) {
        case WM_INITDIALOG:
            SetWindowLongPtrW(dialog, DWLP_USER, lParam);
            OnInitDialog(dialog, *reinterpret_cast<DialogState*>(lParam));
            return TRUE;
        case WM_COMMAND:
            if (LOWORD(wParam) == IDOK && state != nullptr) {
                state->credentials = {ReadText(dialog, IDC_AUTHENTICATION_USER),
                                      ReadText(dialog, IDC_AUTHENTICATION_PASSWORD)};
                EndDialog(dialog, IDOK);
                return TRUE;
            }
            if (LOWORD(wParam) == IDCANCEL) {
                EndDialog(dialog, IDCANCEL);
                return TRUE;
            }
            return FALSE;
        default:
            return FALSE;
    }
}

}  // namespace

std::optional<Credentials> AskForCredentials(HINSTANCE module, HWND owner, const std::wstring& server,
                                             const std::wstring& page, const Credentials& initial) {
    DialogState state{server, page, initial};
    const INT_PTR answer = DialogBoxParamW(module, MAKEINTRESOURCEW(IDD_AUTHENTICATION), owner, &DialogProc,
                                           reinterpret_cast<LPARAM>(&state));
    if (answer != IDOK) return std::nullopt;
    return std::move(state.credentials);
}

}  // namespace norix
