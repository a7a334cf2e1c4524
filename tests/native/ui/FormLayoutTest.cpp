#include "ui/FormLayout.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ui/Texts.h"

namespace norix::test {
namespace {

/// A font whose letters are all of one size, which grows with the resolution.
class Monospace final : public TextMeasure {
  public:
    explicit Monospace(int dpi) : m_width(7 * dpi / 96), m_height(15 * dpi / 96) {}
    FormSize Measure(const std::wstring& text, int widest) const override {
        const int width = static_cast<int>(text.size()) * m_width;
        if (widest <= 0 || width <= widest) return {width, m_height};
        const int perLine = std::max(widest / m_width, 1);
        const int lines = (static_cast<int>(text.size()) + perLine - 1) / perLine;
        return {perLine * m_width, lines * m_height};
    }

  private:
    const int m_width;
    const int m_height;
};

constexpr wchar_t kLong[] = L"a label of which a translator has made an uncommonly long one, in two lines";

Form MakeForm(const std::wstring& label) {
    using Kind = FormItem::Kind;
    Form form;
    form.items = {{Kind::Edit, 1, label},
                  {Kind::Folder, 2, L"Folder:", 3, L"Browse..."},
                  {Kind::Choice, 4, L"List:"},
                  {Kind::Note, 5, std::wstring(150, L'n')},
                  {Kind::Check, 6, std::wstring(90, L'c')}};
    form.items[2].widest = std::wstring(45, L'w');
    form.buttons = {{7, L"OK", true}, {8, L"a longer button"}};
    return form;
}

std::vector<FormBox> AllBoxes(const FormPlaces& places) {
    std::vector<FormBox> boxes = places.buttons;
    for (const FormPlaces::Item& item : places.items)
        for (const FormBox& box : {item.label, item.field, item.button})
            if (box.Width() > 0) boxes.push_back(box);
    return boxes;
}

// Whatever the texts and the resolution, nothing lies over something else or beyond the edges, and every text
// has the room it needs.
TEST(FormLayout, KeepsEverythingApartAndInside) {
    for (const int dpi : {96, 144, 192, 288}) {
        for (const std::wstring& label : {std::wstring(L"Name:"), std::wstring(kLong)}) {
            const Monospace font(dpi);
            const Form form = MakeForm(label);
            const FormPlaces places = LayOut(form, dpi, font);
            const std::vector<FormBox> boxes = AllBoxes(places);
            for (std::size_t i = 0; i < boxes.size(); ++i) {
                EXPECT_GT(boxes[i].Height(), 0);
                EXPECT_GT(boxes[i].left, 0);
                EXPECT_GT(boxes[i].top, 0);
                EXPECT_LT(boxes[i].right, places.size.width);
                EXPECT_LT(boxes[i].bottom, places.size.height);
                for (std::size_t j = 0; j < i; ++j) {
                    const bool apart = boxes[i].left >= boxes[j].right || boxes[j].left >= boxes[i].right ||
                                       boxes[i].top >= boxes[j].bottom || boxes[j].top >= boxes[i].bottom;
                    EXPECT_TRUE(apart) << i << " over " << j << " at " << dpi;
                }
            }
            for (std::size_t i = 0; i < form.items.size(); ++i) {
                const FormItem& item = form.items[i];
                const bool across = item.kind == FormItem::Kind::Note || item.kind == FormItem::Kind::Check;
                const FormBox& text = across ? places.items[i].field : places.items[i].label;
                EXPECT_GE(text.Height(), font.Measure(item.text, text.Width()).height) << i;
            }
            EXPECT_GT(places.items[2].field.Width(), font.Measure(form.items[2].widest, 0).width);
            EXPECT_GT(places.buttons[1].Width(), font.Measure(L"a longer button", 0).width);
        }
    }
}

TEST(FormLayout, GrowsWithTheResolution) {
    const Form form = MakeForm(L"Name:");
    const FormSize once = LayOut(form, 96, Monospace(96)).size;
    const FormSize twice = LayOut(form, 192, Monospace(192)).size;
    EXPECT_NEAR(twice.width, 2 * once.width, 4);
    EXPECT_NEAR(twice.height, 2 * once.height, 4);
}

TEST(Texts, TakeTheirArguments) {
    EXPECT_EQ(Insert(L"%2 of %1, 100 % of %3%", {L"a", L"b"}), L"b of a, 100 % of %3%");
    EXPECT_EQ(Insert(L"%1", {L"%1"}), L"%1") << "what is put in is not looked at";
}

}  // namespace
}  // namespace norix::test
