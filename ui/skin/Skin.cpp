#include "ui/skin/Skin.h"

#include <algorithm>

#include "framework/Module.h"
#include "ui/resource.h"

namespace norix {
namespace {

constexpr int kDpi = 96;
// At 100 %, as make_skin.py draws them.
constexpr int kGlyphTop = 20;
constexpr int kGlyph = 16;
constexpr int kThumbTop = 36;
constexpr int kTrackTop = 52;
constexpr int kFillTop = 58;
constexpr SIZE kTrack = {16, 6};
constexpr int kTrackEnd = 4;  // what of a track isn't stretched

constexpr COLORREF kBack = RGB(48, 48, 48);
constexpr COLORREF kInk = RGB(232, 232, 232);
constexpr COLORREF kInkOff = RGB(112, 112, 112);
constexpr COLORREF kInkOn = RGB(255, 96, 80);
constexpr COLORREF kMeterBack = RGB(28, 28, 28);
constexpr COLORREF kMeterLow = RGB(80, 200, 96);
constexpr COLORREF kMeterHigh = RGB(232, 200, 64);
constexpr COLORREF kMeterPeak = RGB(240, 80, 64);
constexpr int kMeterHighFrom = 75;  // 15 dB below the loudest
constexpr int kMeterPeakFrom = 95;  // 3 dB

struct Step {
    int percent;
    int resource;
};

Step StepFor(int dpi) {
    const int percent = MulDiv(dpi, 100, kDpi);
    if (percent < 125) return {100, IDB_SKIN_100};
    if (percent < 175) return {150, IDB_SKIN_150};
    return {200, IDB_SKIN_200};
}

}  // namespace

int ScreenDpi() {
    const util::WindowDc screen(nullptr);
    return screen ? GetDeviceCaps(screen.Get(), LOGPIXELSY) : kDpi;
}

Skin::Skin(int dpi) {
    const Step step = StepFor(dpi);
    m_percent = step.percent;
    m_bitmap.Reset(static_cast<HBITMAP>(LoadImageW(framework::COleControlModule::Get().Instance(),
                                                   MAKEINTRESOURCEW(step.resource), IMAGE_BITMAP, 0, 0,
                                                   LR_CREATEDIBSECTION)));
    DIBSECTION section = {};
    if (m_bitmap && GetObjectW(m_bitmap.Get(), sizeof section, &section) == sizeof section &&
        section.dsBm.bmBitsPixel == 32) {
        m_bits = static_cast<const std::uint8_t*>(section.dsBm.bmBits);
        m_size = {section.dsBm.bmWidth, section.dsBm.bmHeight};
    }
}

bool Skin::IsHighContrast() {
    HIGHCONTRASTW contrast = {};
    contrast.cbSize = sizeof contrast;
    return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) &&
           (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

COLORREF Skin::Back() {
    return IsHighContrast() ? GetSysColor(COLOR_BTNFACE) : kBack;
}

// All in pixels of this size.
void Skin::Blit(Canvas& canvas, POINT to, POINT from, SIZE size) const {
    if (!m_bits) return;
    GdiFlush();
    for (int y = 0; y < size.cy; ++y) {
        const int row = static_cast<int>(m_size.cy) - 1 - (static_cast<int>(from.y) + y);
        if (row < 0 || row >= m_size.cy) continue;
        for (int x = 0; x < size.cx && from.x + x < m_size.cx; ++x) {
            const std::uint8_t* const pixel = m_bits + (row * m_size.cx + from.x + x) * 4;
            canvas.Blend(static_cast<int>(to.x) + x, static_cast<int>(to.y) + y,
                         pixel[0] | pixel[1] << 8 | pixel[2] << 16, pixel[3]);
        }
    }
}

void Skin::Tint(Canvas& canvas, POINT to, Glyph glyph, COLORREF colour) const {
    if (!m_bits) return;
    GdiFlush();
    const int size = Scaled(kGlyph);
    const int left = static_cast<int>(glyph) * size;
    const int top = Scaled(kGlyphTop);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const int row = static_cast<int>(m_size.cy) - 1 - (top + y);
            const std::uint8_t opacity = m_bits[(row * m_size.cx + left + x) * 4 + 3];
            canvas.Blend(static_cast<int>(to.x) + x, static_cast<int>(to.y) + y, PixelOf(colour), opacity);
        }
    }
}

// A track: its ends as they are, its middle as often as needed.
void Skin::Stretch(Canvas& canvas, RECT to, POINT from) const {
    const int end = Scaled(kTrackEnd);
    const int whole = Scaled(kTrack.cx);
    const int height = Scaled(kTrack.cy);
    const int width = static_cast<int>(to.right - to.left);
    if (width < 2 * end) return;
    Blit(canvas, {to.left, to.top}, from, {end, height});
    for (int x = end; x < width - end; ++x)
        Blit(canvas, {to.left + x, to.top}, {from.x + end, from.y}, {1, height});
    Blit(canvas, {to.right - end, to.top}, {from.x + whole - end, from.y}, {end, height});
}

void Skin::DrawButton(Canvas& canvas, WidgetState state, Glyph glyph, bool on) const {
    const SIZE size = canvas.Size();
    const RECT all = {0, 0, size.cx, size.cy};
    const POINT glyphAt = {(size.cx - Scaled(kGlyph)) / 2, (size.cy - Scaled(kGlyph)) / 2};
    if (IsHighContrast()) {
        const bool pressed = state == WidgetState::Pressed || on;
        const bool marked = state == WidgetState::Focused || state == WidgetState::Hot;
        const int ink = state == WidgetState::Disabled ? COLOR_GRAYTEXT
                        : pressed                      ? COLOR_HIGHLIGHTTEXT
                                                       : COLOR_BTNTEXT;
        canvas.Fill(all, GetSysColor(pressed ? COLOR_HIGHLIGHT : COLOR_BTNFACE));
        canvas.Frame(all, GetSysColor(state == WidgetState::Disabled ? COLOR_GRAYTEXT : COLOR_BTNTEXT));
        const RECT inner = {2, 2, size.cx - 2, size.cy - 2};
        if (marked) canvas.Frame(inner, GetSysColor(pressed ? COLOR_HIGHLIGHTTEXT : COLOR_HIGHLIGHT));
        return Tint(canvas, glyphAt, glyph, GetSysColor(ink));
    }
    canvas.Fill(all, kBack);
    const int width = Scaled(kButton.cx);
    Blit(canvas, {0, 0}, {static_cast<int>(state) * width, 0}, {width, Scaled(kButton.cy)});
    const COLORREF ink = state == WidgetState::Disabled ? kInkOff : on ? kInkOn : kInk;
    Tint(canvas, glyphAt, glyph, ink);
}

void Skin::DrawSlider(Canvas& canvas, WidgetState state, int thumb) const {
    const SIZE size = canvas.Size();
    const RECT all = {0, 0, size.cx, size.cy};
    const int thumbWidth = Scaled(kThumb.cx);
    const int thumbHeight = Scaled(kThumb.cy);
    const int trackTop = (static_cast<int>(size.cy) - Scaled(kTrack.cy)) / 2;
    const POINT thumbAt = {thumb - thumbWidth / 2, (size.cy - thumbHeight) / 2};
    if (IsHighContrast()) {
        const COLORREF ink = GetSysColor(state == WidgetState::Disabled ? COLOR_GRAYTEXT : COLOR_BTNTEXT);
        canvas.Fill(all, GetSysColor(COLOR_BTNFACE));
        canvas.Frame({0, trackTop, size.cx, trackTop + Scaled(kTrack.cy)}, ink);
        const RECT box = {thumbAt.x, thumbAt.y, thumbAt.x + thumbWidth, thumbAt.y + thumbHeight};
        const bool marked = state != WidgetState::Normal && state != WidgetState::Disabled;
        canvas.Fill(box, marked ? GetSysColor(COLOR_HIGHLIGHT) : ink);
        return;
    }
    canvas.Fill(all, kBack);
    const int column = static_cast<int>(state);
    const int trackLeft = column * Scaled(kTrack.cx);
    Stretch(canvas, {0, trackTop, size.cx, 0}, {trackLeft, Scaled(kTrackTop)});
    Stretch(canvas, {0, trackTop, thumb, 0}, {trackLeft, Scaled(kFillTop)});
    Blit(canvas, thumbAt, {column * thumbWidth, Scaled(kThumbTop)}, {thumbWidth, thumbHeight});
}

void Skin::DrawMeter(Canvas& canvas, int level) const {
    const SIZE size = canvas.Size();
    const RECT all = {0, 0, size.cx, size.cy};
    const auto xOf = [&](int at) { return static_cast<LONG>(size.cx * at / 100); };
    if (IsHighContrast()) {
        canvas.Fill(all, GetSysColor(COLOR_BTNFACE));
        canvas.Fill({0, 0, xOf(level), size.cy}, GetSysColor(COLOR_HIGHLIGHT));
        return canvas.Frame(all, GetSysColor(COLOR_BTNTEXT));
    }
    canvas.Fill(all, kMeterBack);
    canvas.Fill({0, 0, xOf(std::min(level, kMeterHighFrom)), size.cy}, kMeterLow);
    if (level > kMeterHighFrom)
        canvas.Fill({xOf(kMeterHighFrom), 0, xOf(std::min(level, kMeterPeakFrom)), size.cy}, kMeterHigh);
    if (level > kMeterPeakFrom) canvas.Fill({xOf(kMeterPeakFrom), 0, xOf(level), size.cy}, kMeterPeak);
}

}  // namespace norix
