#include "ui/AuthenticationDialog.h"

#include <utility>

#include "ui/Texts.h"
#include "ui/resource.h"

namespace norix {

namespace {

constexpr UINT_PTR kCapsTimer = 1;
constexpr UINT kCapsPeriodMs = 200;

Form MakeForm(const AuthenticationDialog::View& view) {
    using Kind = FormItem::Kind;
    Form form;
    auto& items = form.items;
    if (view.wrongBefore) items.push_back({Kind::Note, -1, UiText(IDS_SIGN_IN_WRONG)});
    items.push_back({Kind::ReadOnly, IDC_AUTHENTICATION_SERVER, UiText(IDS_SIGN_IN_CAMERA)});
    if (!view.page.empty())
        items.push_back({Kind::ReadOnly, IDC_AUTHENTICATION_PAGE, UiText(IDS_SIGN_IN_PAGE)});
    items.push_back({Kind::Edit, IDC_AUTHENTICATION_USER, UiText(IDS_SIGN_IN_USER)});
    items.push_back({Kind::Password, IDC_AUTHENTICATION_PASSWORD, UiText(IDS_SIGN_IN_PASSWORD)});
    FormItem note = {Kind::Note, IDC_AUTHENTICATION_NOTE, L""};
    note.lines = 1;
    items.push_back(note);
    items.push_back({Kind::Check, IDC_AUTHENTICATION_REMEMBER, UiText(IDS_SIGN_IN_REMEMBER)});
    form.buttons = {{IDOK, UiText(IDS_OK), true}, {IDCANCEL, UiText(IDS_CANCEL)}};
    return form;
}

}  // namespace

bool AuthenticationDialog::Show(HWND over, View view) {
    m_view = std::move(view);
    m_capsShown = false;
    return Open(over, UiText(IDS_SIGN_IN_TITLE), MakeForm(m_view));
}

void AuthenticationDialog::OnOpened() {
    FormControls& controls = Controls();
    controls.SetText(IDC_AUTHENTICATION_SERVER, m_view.server);
    if (!m_view.page.empty()) controls.SetText(IDC_AUTHENTICATION_PAGE, m_view.page);
    controls.SetText(IDC_AUTHENTICATION_USER, m_view.initial.user);
    controls.SetText(IDC_AUTHENTICATION_PASSWORD, m_view.initial.password);
    controls.SetChecked(IDC_AUTHENTICATION_REMEMBER, true);
    const bool named = !m_view.initial.user.empty();
    controls.Focus(named ? IDC_AUTHENTICATION_PASSWORD : IDC_AUTHENTICATION_USER);
    Forget();
    ShowCapsLock((GetKeyState(VK_CAPITAL) & 1) != 0);
    SetTimer(Window(), kCapsTimer, kCapsPeriodMs, nullptr);
}

void AuthenticationDialog::ShowCapsLock(bool on) {
    if (std::exchange(m_capsShown, on) == on) return;
    Controls().SetText(IDC_AUTHENTICATION_NOTE, on ? UiText(IDS_SIGN_IN_CAPS) : std::wstring());
}

bool AuthenticationDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_TIMER || wParam != kCapsTimer) return FormDialog::OnMessage(message, wParam, lParam);
    ShowCapsLock((GetKeyState(VK_CAPITAL) & 1) != 0);
    return true;
}

void AuthenticationDialog::OnCommand(int id, int) {
    if (id == IDCANCEL) return Cancel();
    if (id != IDOK) return;
    const Credentials entered = {Controls().Text(IDC_AUTHENTICATION_USER),
                                 Controls().Text(IDC_AUTHENTICATION_PASSWORD)};
    const bool remember = Controls().IsChecked(IDC_AUTHENTICATION_REMEMBER);
    Close();
    m_sink.OnSignInEntered(entered, remember);
}

}  // namespace norix
