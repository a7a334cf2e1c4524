#include "ui/MotionPanel.h"

#include <algorithm>

#include "ui/Texts.h"

namespace norix {
namespace {

constexpr int kDpi = 96;
// At that resolution:
constexpr int kMargin = 4;  // to the parent's edges
constexpr SIZE kSize = {196, 108};
constexpr int kRow = 24;
constexpr int kLongestName = 31;

enum ChildId { kFirstCheck = 1, kFirstName = 11, kSensitivity = 21, kSave };

}  // namespace

bool MotionPanel::Show(HWND parent) {
    if (HasWindow()) return true;
    const HDC screen = GetDC(nullptr);
    m_dpi = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    const RECT bounds = {0, 0, MulDiv(kSize.cx, m_dpi, kDpi), MulDiv(kSize.cy, m_dpi, kDpi)};
    if (!Create(L"", WS_CHILD | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT, bounds, parent))
        return false;
    if (!Fill()) {
        DestroyWindow();
        return false;
    }
    Place();
    return true;
}

bool MotionPanel::Fill() {
    for (int i = 0; i < kWindows; ++i) {
        const int top = 4 + i * kRow;
        const std::wstring number = std::to_wstring(i + 1);
        if (!AddChild(L"BUTTON", number.c_str(), WS_TABSTOP | BS_AUTOCHECKBOX, kFirstCheck + i,
                      {6, top, 42, top + 20}) ||
            !AddChild(L"EDIT", L"", WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL, kFirstName + i,
                      {46, top, 190, top + 20}))
            return false;
        SendDlgItemMessageW(Handle(), kFirstName + i, EM_LIMITTEXT, kLongestName, 0);
    }
    const int top = 6 + kWindows * kRow;
    return AddChild(L"STATIC", L"", SS_CENTERIMAGE, kSensitivity, {6, top, 120, top + 24}) &&
           AddChild(L"BUTTON", UiText(IDS_SAVE).c_str(), WS_TABSTOP | BS_PUSHBUTTON, kSave,
                    {126, top, 190, top + 24});
}

bool MotionPanel::AddChild(const wchar_t* windowClass, const wchar_t* text, DWORD style, int id, RECT place) {
    const auto scaled = [this](LONG length) { return MulDiv(static_cast<int>(length), m_dpi, kDpi); };
    const HWND child =
        CreateWindowExW(0, windowClass, text, WS_CHILD | WS_VISIBLE | style, scaled(place.left),
                        scaled(place.top), scaled(place.right - place.left), scaled(place.bottom - place.top),
                        Handle(), reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    if (child == nullptr) return false;
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), FALSE);
    return true;
}

void MotionPanel::Place(int below) {
    RECT client;
    RECT own;
    if (!HasWindow() || !GetClientRect(GetParent(Handle()), &client) || !GetClientRect(Handle(), &own))
        return;
    const int bottom = static_cast<int>(client.bottom) - (below > 0 ? below + kMargin : 0);
    const int top = std::max(bottom - static_cast<int>(own.bottom) - kMargin, 0);
    SetWindowPos(Handle(), HWND_TOP, kMargin, top, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

void MotionPanel::SetWindow(int index, bool on, const std::wstring& name) {
    m_quiet = true;
    CheckDlgButton(Handle(), kFirstCheck + index, on ? BST_CHECKED : BST_UNCHECKED);
    SetDlgItemTextW(Handle(), kFirstName + index, name.c_str());
    m_quiet = false;
}

void MotionPanel::SetSensitivity(int percent) {
    SetDlgItemTextW(Handle(), kSensitivity,
                    Insert(UiText(IDS_MOTION_SENSITIVITY), {std::to_wstring(percent)}).c_str());
}

std::wstring MotionPanel::Name(int index) const {
    const HWND field = GetDlgItem(Handle(), kFirstName + index);
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(field)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(GetWindowTextW(field, text.data(), static_cast<int>(text.size()))));
    return text;
}

bool MotionPanel::IsOn(int index) const {
    return IsDlgButtonChecked(Handle(), kFirstCheck + index) == BST_CHECKED;
}

LRESULT MotionPanel::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_COMMAND:
            if (!m_quiet) OnCommand(LOWORD(wParam), HIWORD(wParam));
            return 0;
        case WM_ERASEBKGND: {
            RECT client;
            GetClientRect(Handle(), &client);
            FillRect(reinterpret_cast<HDC>(wParam), &client, GetSysColorBrush(COLOR_BTNFACE));
            return 1;
        }
        default:
            return CWnd::OnMessage(message, wParam, lParam);
    }
}

// The sink comes last everywhere: it may hide the panel.
void MotionPanel::OnCommand(int id, int code) {
    if (id >= kFirstCheck && id < kFirstCheck + kWindows && code == BN_CLICKED)
        return m_sink.OnMotionWindow(id - kFirstCheck, IsDlgButtonChecked(Handle(), id) == BST_CHECKED);
    if (id >= kFirstName && id < kFirstName + kWindows && code == EN_CHANGE)
        return m_sink.OnMotionName(id - kFirstName, Name(id - kFirstName));
    if (id == kSave && code == BN_CLICKED) m_sink.OnSaveMotion();
}

}  // namespace norix
