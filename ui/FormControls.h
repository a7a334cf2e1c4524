#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "ui/FormLayout.h"
#include "util/Handles.h"

namespace norix {

/// The system's controls of a form in a dialog: made from its description, laid out for a resolution, and
/// asked for what the user has entered. The dialog's window thread; the dialog outlives the calls.
class FormControls {
  public:
    /// False when the system refuses.
    bool Fill(HWND dialog, Form form, int dpi);
    /// Anew for another resolution.
    void Place(int dpi);
    /// In pixels, as placed last.
    FormSize Size() const { return m_size; }

    std::wstring Text(int id) const;
    void SetText(int id, const std::wstring& text);
    bool IsChecked(int id) const;
    void SetChecked(int id, bool checked);
    /// Counted from 0; -1 for none.
    int Chosen(int id) const;
    void SetChoices(int id, const std::vector<std::wstring>& choices, int chosen);
    void Enable(int id, bool enabled);
    /// What the keyboard goes to; its text is selected.
    void Focus(int id);

  private:
    HWND Add(const wchar_t* windowClass, const std::wstring& text, DWORD style, DWORD exStyle, int id);
    bool AddItem(const FormItem& item);
    HWND Item(int id) const { return GetDlgItem(m_dialog, id); }

    HWND m_dialog = nullptr;
    Form m_form;
    struct ItemWindows {
        HWND label = nullptr;
        HWND field = nullptr;
        HWND button = nullptr;
    };
    std::vector<ItemWindows> m_items;
    std::vector<HWND> m_buttons;
    util::UniqueFont m_font;
    FormSize m_size;
};

}  // namespace norix
