#pragma once

#include <functional>

#include "ui/skin/Widget.h"

namespace norix {

/// A button with a glyph. Of the kind Click it does something when it is let go; of the kind Hold it says
/// when it goes down and when it comes up, whatever way. Space and Enter work it as well.
class BitmapButton final : public Widget {
  public:
    enum class Kind { Click, Hold };
    /// `action` is told whether the button is down; a Click's always hears true.
    BitmapButton(Kind kind, Glyph glyph, std::function<void(bool down)> action)
        : m_kind(kind), m_glyph(glyph), m_action(std::move(action)) {}

    /// Its look, and whether what it stands for is on.
    void Show(Glyph glyph, bool on);

    LONG Role() const override;
    LONG AccessibleState() const override;
    std::wstring DefaultAction() const override;
    void DoDefaultAction() override;

  private:
    void Draw(Canvas& canvas) const override;
    void OnPress(POINT at) override;
    void OnRelease(bool inside) override;
    bool OnKey(WPARAM key, bool down) override;
    void OnFocusLost() override;
    void HoldByKey(bool hold, bool meant);

    const Kind m_kind;
    Glyph m_glyph;
    const std::function<void(bool)> m_action;
    bool m_on = false;
    bool m_held = false;  // by the space bar
};

}  // namespace norix
