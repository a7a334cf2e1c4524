#include "ui/FormControls.h"

#include <algorithm>

#include "util/ScreenDpi.h"

namespace norix {

namespace {

constexpr int kLongestText = 1024;  // characters that a field takes
constexpr int kChoicesShown = 8;

/// The system's font for dialogs, at another resolution than the system's own.
util::UniqueFont MakeFont(int dpi) {
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof(metrics);
    if (!SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0)) return {};
    LOGFONTW font = metrics.lfMessageFont;
    font.lfHeight = MulDiv(font.lfHeight, dpi, util::DpiOf(nullptr));
    font.lfWidth = 0;
    return util::UniqueFont(CreateFontIndirectW(&font));
}

class DcMeasure final : public TextMeasure {
  public:
    DcMeasure(HWND window, HFONT font)
        : m_window(window), m_dc(GetDC(window)), m_before(SelectObject(m_dc, font)) {}
    ~DcMeasure() {
        SelectObject(m_dc, m_before);
        ReleaseDC(m_window, m_dc);
    }
    DcMeasure(const DcMeasure&) = delete;
    DcMeasure& operator=(const DcMeasure&) = delete;

    FormSize Measure(const std::wstring& text, int widest) const override {
        RECT area = {0, 0, widest, 0};
        DrawTextW(m_dc, text.c_str(), static_cast<int>(text.size()), &area,
                  DT_CALCRECT | (widest > 0 ? DT_WORDBREAK : DT_SINGLELINE));
        return {static_cast<int>(area.right), static_cast<int>(area.bottom)};
    }

  private:
    const HWND m_window;
    const HDC m_dc;
    const HGDIOBJ m_before;
};

void Move(HWND window, const FormBox& box, int height) {
    if (window != nullptr) MoveWindow(window, box.left, box.top, box.Width(), height, TRUE);
}

}  // namespace

HWND FormControls::Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, DWORD exStyle,
                       int id) {
    return CreateWindowExW(exStyle, windowClass, text.c_str(), WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0,
                           m_dialog, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
}

bool FormControls::AddItem(const FormItem& item) {
    using Kind = FormItem::Kind;
    constexpr DWORD kField = WS_TABSTOP | ES_AUTOHSCROLL;
    constexpr int kNoNumber = -1;
    ItemWindows windows;
    if (item.kind == Kind::Note) {
        windows.field = Add(L"STATIC", item.text, SS_NOPREFIX, 0, item.id);
    } else if (item.kind == Kind::Check) {
        windows.field =
            Add(L"BUTTON", item.text, WS_TABSTOP | BS_AUTOCHECKBOX | BS_MULTILINE | BS_TOP, 0, item.id);
    } else {
        windows.label = Add(L"STATIC", item.text, 0, 0, kNoNumber);
        switch (item.kind) {
            case Kind::Choice:
                windows.field = Add(L"COMBOBOX", L"", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST, 0, item.id);
                break;
            case Kind::ReadOnly:
                windows.field = Add(L"EDIT", L"", ES_AUTOHSCROLL | ES_READONLY, 0, item.id);
                break;
            case Kind::Password:
                windows.field = Add(L"EDIT", L"", kField | ES_PASSWORD, WS_EX_CLIENTEDGE, item.id);
                break;
            case Kind::Number:
                windows.field = Add(L"EDIT", L"", kField | ES_NUMBER, WS_EX_CLIENTEDGE, item.id);
                break;
            default:
                windows.field = Add(L"EDIT", L"", kField, WS_EX_CLIENTEDGE, item.id);
        }
        if (windows.label == nullptr) return false;
        if (item.kind != Kind::Choice) SendMessageW(windows.field, EM_LIMITTEXT, kLongestText, 0);
    }
    if (item.kind == Kind::Folder) {
        windows.button = Add(L"BUTTON", item.button, WS_TABSTOP | BS_PUSHBUTTON, 0, item.buttonId);
        if (windows.button == nullptr) return false;
    }
    m_items.push_back(windows);
    return windows.field != nullptr;
}

bool FormControls::Fill(HWND dialog, Form form, int dpi) {
    m_dialog = dialog;
    m_form = std::move(form);
    m_items.clear();
    m_buttons.clear();
    for (const FormItem& item : m_form.items)
        if (!AddItem(item)) return false;
    for (const FormButton& button : m_form.buttons) {
        const DWORD style = button.isDefault ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
        m_buttons.push_back(Add(L"BUTTON", button.text, WS_TABSTOP | style, 0, button.id));
        if (m_buttons.back() == nullptr) return false;
        if (button.isDefault) SendMessageW(dialog, DM_SETDEFID, static_cast<WPARAM>(button.id), 0);
    }
    Place(dpi);
    return true;
}

void FormControls::Place(int dpi) {
    util::UniqueFont font = MakeFont(dpi);
    const HFONT used = font ? font.Get() : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
    const FormPlaces places = LayOut(m_form, dpi, DcMeasure(m_dialog, used));
    const auto place = [&](HWND window, const FormBox& box, int height) {
        if (window == nullptr) return;
        SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>(used), FALSE);
        Move(window, box, height);
    };
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        const FormPlaces::Item& item = places.items[i];
        // A list's height is that of what drops down.
        const bool list = m_form.items[i].kind == FormItem::Kind::Choice;
        place(m_items[i].label, item.label, item.label.Height());
        place(m_items[i].field, item.field, item.field.Height() * (list ? kChoicesShown : 1));
        place(m_items[i].button, item.button, item.button.Height());
    }
    for (std::size_t i = 0; i < m_buttons.size(); ++i)
        place(m_buttons[i], places.buttons[i], places.buttons[i].Height());
    m_font = std::move(font);  // the one before is in no window any more
    m_size = places.size;
    InvalidateRect(m_dialog, nullptr, TRUE);
}

std::wstring FormControls::Text(int id) const {
    const HWND field = Item(id);
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(field)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(GetWindowTextW(field, text.data(), static_cast<int>(text.size()))));
    return text;
}

void FormControls::SetText(int id, const std::wstring& text) {
    SetWindowTextW(Item(id), text.c_str());
}

bool FormControls::IsChecked(int id) const {
    return IsDlgButtonChecked(m_dialog, id) == BST_CHECKED;
}

void FormControls::SetChecked(int id, bool checked) {
    CheckDlgButton(m_dialog, id, checked ? BST_CHECKED : BST_UNCHECKED);
}

int FormControls::Chosen(int id) const {
    return static_cast<int>(SendMessageW(Item(id), CB_GETCURSEL, 0, 0));
}

void FormControls::SetChoices(int id, const std::vector<std::wstring>& choices, int chosen) {
    SendMessageW(Item(id), CB_RESETCONTENT, 0, 0);
    for (const std::wstring& choice : choices)
        SendMessageW(Item(id), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(choice.c_str()));
    SendMessageW(Item(id), CB_SETCURSEL, static_cast<WPARAM>(chosen), 0);
}

void FormControls::Enable(int id, bool enabled) {
    EnableWindow(Item(id), enabled);
}

void FormControls::Focus(int id) {
    SetFocus(Item(id));
    SendMessageW(Item(id), EM_SETSEL, 0, -1);
}

}  // namespace norix
