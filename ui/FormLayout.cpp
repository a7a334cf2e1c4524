#include "ui/FormLayout.h"

#include <algorithm>

namespace norix {

namespace {

// At 96 dots per inch:
constexpr int kDpi = 96;
constexpr int kMargin = 12;
constexpr int kGap = 8;  // between label and field, and between buttons
constexpr int kRowGap = 7;
constexpr int kFieldPadding = 8;  // a field's height above its text's
constexpr int kFieldWidth = 210;
constexpr int kLongestLabel = 190;  // longer ones are broken into lines
constexpr int kButtonPadding = 20;
constexpr int kButtonWidth = 75;
constexpr int kCheckBox = 20;     // the box and the gap behind it
constexpr int kChoiceArrow = 28;  // what a list needs beside its text

class Layout {
  public:
    Layout(const Form& form, int dpi, const TextMeasure& measure)
        : m_form(form), m_dpi(std::max(dpi, kDpi / 2)), m_measure(measure) {}

    FormPlaces Run() {
        Columns();
        FormPlaces places;
        int top = Scaled(kMargin);
        for (const FormItem& item : m_form.items) {
            places.items.push_back(Place(item, top));
            const FormPlaces::Item& placed = places.items.back();
            top = std::max(placed.label.bottom, placed.field.bottom) + Scaled(kRowGap);
        }
        top += m_form.buttons.empty() ? -Scaled(kRowGap) : Scaled(kRowGap);
        places.buttons = Buttons(top);
        places.size = {m_width + 2 * Scaled(kMargin),
                       (places.buttons.empty() ? top : places.buttons.front().bottom) + Scaled(kMargin)};
        return places;
    }

  private:
    static bool IsAcross(const FormItem& item) {
        return item.kind == FormItem::Kind::Note || item.kind == FormItem::Kind::Check;
    }
    int Scaled(int length) const { return length * m_dpi / kDpi; }
    int LineHeight() const { return m_measure.Measure(L"Xg", 0).height; }
    int ButtonWidth(const std::wstring& text) const {
        return std::max(m_measure.Measure(text, 0).width + Scaled(kButtonPadding), Scaled(kButtonWidth));
    }

    void Columns() {
        m_field = Scaled(kFieldWidth);
        for (const FormItem& item : m_form.items) {
            if (IsAcross(item)) continue;
            m_label = std::max(m_label, m_measure.Measure(item.text, Scaled(kLongestLabel)).width);
            int wanted = 0;
            if (item.kind == FormItem::Kind::Folder)
                wanted = ButtonWidth(item.button) + Scaled(kGap) + Scaled(kFieldWidth) / 2;
            if (item.kind == FormItem::Kind::Choice)
                wanted = m_measure.Measure(item.widest, 0).width + Scaled(kChoiceArrow);
            m_field = std::max(m_field, wanted);
        }
        const int gap = m_label > 0 ? Scaled(kGap) : 0;
        int buttons = 0;
        for (const FormButton& button : m_form.buttons)
            buttons += ButtonWidth(button.text) + (buttons > 0 ? Scaled(kGap) : 0);
        m_width = std::max(m_label + gap + m_field, buttons);
        m_fieldLeft = Scaled(kMargin) + m_label + gap;
    }

    FormPlaces::Item Place(const FormItem& item, int top) const {
        const int left = Scaled(kMargin);
        const int right = left + m_width;
        FormPlaces::Item place;
        if (item.kind == FormItem::Kind::Note) {
            const int height =
                std::max(m_measure.Measure(item.text, m_width).height, item.lines * LineHeight());
            place.field = {left, top, right, top + height};
            return place;
        }
        if (item.kind == FormItem::Kind::Check) {
            const int height = m_measure.Measure(item.text, m_width - Scaled(kCheckBox)).height;
            place.field = {left, top, right, top + std::max(height, LineHeight()) + Scaled(2)};
            return place;
        }
        const int fieldHeight = LineHeight() + Scaled(kFieldPadding);
        const int labelHeight = m_measure.Measure(item.text, m_label).height;
        // A label of one line stands level with the text of its field.
        const int inset = std::max((fieldHeight - LineHeight()) / 2, 0);
        const int labelTop = labelHeight > LineHeight() ? top : top + inset;
        place.label = {left, labelTop, left + m_label, labelTop + labelHeight};
        place.field = {m_fieldLeft, top, right, top + fieldHeight};
        if (item.kind == FormItem::Kind::ReadOnly)
            place.field = {m_fieldLeft, labelTop, right, place.label.bottom};
        if (item.kind == FormItem::Kind::Folder) {
            place.button = {right - ButtonWidth(item.button), top, right, top + fieldHeight};
            place.field.right = place.button.left - Scaled(kGap);
        }
        return place;
    }

    std::vector<FormBox> Buttons(int top) const {
        std::vector<FormBox> boxes(m_form.buttons.size());
        const int height = LineHeight() + Scaled(kFieldPadding) + Scaled(2);
        int right = Scaled(kMargin) + m_width;
        for (std::size_t i = boxes.size(); i-- > 0;) {
            boxes[i] = {right - ButtonWidth(m_form.buttons[i].text), top, right, top + height};
            right = boxes[i].left - Scaled(kGap);
        }
        return boxes;
    }

    const Form& m_form;
    const int m_dpi;
    const TextMeasure& m_measure;
    int m_label = 0;  // width of the labels' column
    int m_field = 0;  // and of the fields'
    int m_fieldLeft = 0;
    int m_width = 0;  // of all between the margins
};

}  // namespace

FormPlaces LayOut(const Form& form, int dpi, const TextMeasure& measure) {
    return Layout(form, dpi, measure).Run();
}

}  // namespace norix
