#pragma once

#include <windows.h>

#include "ui/skin/Canvas.h"
#include "util/Handles.h"

namespace norix {

enum class WidgetState { Normal, Hot, Pressed, Disabled, Focused };
enum class Glyph { Speaker, SpeakerMuted, Microphone, Unlocked, Locked };

/// The vertical resolution of the screen, in dots per inch.
int ScreenDpi();

/// How widgets look: bitmaps of the module in three sizes. Where the user has asked for high contrast, the
/// system's colours without bitmaps. The window's thread; must outlive the widgets that are drawn with it.
class Skin {
  public:
    /// The size for a resolution: 100, 150 or 200 %.
    explicit Skin(int dpi);

    /// A length at 100 %, in pixels.
    int Scaled(int length) const { return length * m_percent / 100; }
    int Percent() const { return m_percent; }

    /// What widgets stand on.
    static COLORREF Back();
    static bool IsHighContrast();

    /// `on`: the button's thing is switched on, told by its colour.
    void DrawButton(Canvas& canvas, WidgetState state, Glyph glyph, bool on) const;
    /// A slider's whole canvas, with the thumb's middle at `thumb` pixels from the left.
    void DrawSlider(Canvas& canvas, WidgetState state, int thumb) const;
    /// `level` 0 to 100.
    void DrawMeter(Canvas& canvas, int level) const;

    /// At 100 %.
    static constexpr SIZE kButton = {24, 20};
    static constexpr SIZE kThumb = {10, 16};

  private:
    void Blit(Canvas& canvas, POINT to, POINT from, SIZE size) const;
    void Tint(Canvas& canvas, POINT to, Glyph glyph, COLORREF colour) const;
    void Stretch(Canvas& canvas, RECT to, POINT from) const;

    int m_percent = 100;
    util::UniqueBitmap m_bitmap;
    const std::uint8_t* m_bits = nullptr;  // bottom row first; the bitmap's
    SIZE m_size = {};
};

}  // namespace norix
