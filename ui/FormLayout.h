#pragma once

// How a form is laid out: labels in one column, fields in another, notes and check boxes across both, buttons
// below. Sizes come from the texts, so that another language, font or resolution moves everything else. Pure.

#include <string>
#include <vector>

namespace norix {

struct FormSize {
    int width = 0;
    int height = 0;
};

struct FormBox {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
};

struct FormItem {
    enum class Kind {
        Note,      ///< a text across the form
        ReadOnly,  ///< label and a text that can be copied
        Edit,
        Password,
        Number,  ///< digits only
        Choice,  ///< a list to choose one of
        Folder,  ///< a field and a button beside it
        Check,   ///< a box with its text across the form
    };
    Kind kind = Kind::Note;
    int id = 0;             ///< of the field, the check box or the note
    std::wstring text{};    ///< label, or the box's or note's own; '&' marks its mnemonic but in notes
    int buttonId = 0;       ///< Folder's button
    std::wstring button{};  ///< and its text
    int lines = 0;          ///< Note: at least so many lines are kept free, for texts that come later
    std::wstring widest{};  ///< Choice: the longest text that it will show
};

struct FormButton {
    int id = 0;
    std::wstring text{};
    bool isDefault = false;  ///< what Enter means
};

struct Form {
    std::vector<FormItem> items;
    std::vector<FormButton> buttons;
};

/// Measures texts in the form's font.
class TextMeasure {
  public:
    /// In pixels; broken into lines where it is wider than `widest`, unless that is 0.
    virtual FormSize Measure(const std::wstring& text, int widest) const = 0;

  protected:
    ~TextMeasure() = default;
};

/// In pixels from the form's upper left corner. What an item has not is empty.
struct FormPlaces {
    struct Item {
        FormBox label;
        FormBox field;
        FormBox button;
    };
    std::vector<Item> items;
    std::vector<FormBox> buttons;
    FormSize size;
};

/// `dpi`: dots per inch where the form is shown.
FormPlaces LayOut(const Form& form, int dpi, const TextMeasure& measure);

}  // namespace norix
