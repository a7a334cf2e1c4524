#pragma once

#include <utility>

#include "ui/skin/Widget.h"

namespace norix {

/// Shows how loud something is, 0 to 100. Nothing can be done to it.
class LevelMeter final : public Widget {
  public:
    void Show(int level) {
        if (std::exchange(m_level, level) != level) Redraw();
    }

    LONG Role() const override { return ROLE_SYSTEM_PROGRESSBAR; }
    LONG AccessibleState() const override { return STATE_SYSTEM_READONLY; }
    std::wstring Value() const override { return std::to_wstring(m_level) + L"%"; }

  private:
    bool TakesFocus() const override { return false; }
    void Draw(Canvas& canvas) const override { Look().DrawMeter(canvas, m_level); }

    int m_level = 0;
};

}  // namespace norix
