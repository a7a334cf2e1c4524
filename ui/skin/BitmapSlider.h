#pragma once

#include <functional>

#include "ui/skin/Widget.h"

namespace norix {

/// A slider from 0 to 100, worked by mouse, wheel, arrows, Page Up and Down, Home and End.
class BitmapSlider final : public Widget {
  public:
    explicit BitmapSlider(std::function<void(int value)> changed) : m_changed(std::move(changed)) {}

    int Position() const { return m_value; }
    /// Shows a value; nobody is told but screen readers.
    void Show(int value);

    LONG Role() const override { return ROLE_SYSTEM_SLIDER; }
    std::wstring Value() const override { return std::to_wstring(m_value) + L"%"; }
    bool SetValue(const std::wstring& text) override;

  private:
    void Draw(Canvas& canvas) const override;
    void OnPress(POINT at) override { OnDrag(at); }
    void OnDrag(POINT at) override;
    bool OnKey(WPARAM key, bool down) override;
    void OnWheel(int steps) override;
    void Change(int value);
    int Travel() const;

    const std::function<void(int)> m_changed;
    int m_value = 0;
};

}  // namespace norix
