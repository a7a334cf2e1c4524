#include "control/view/StatisticsOverlay.h"

#include <algorithm>

#include "render/overlay/GraphicObjects.h"
#include "util/ScreenDpi.h"

namespace norix {

namespace {

constexpr long kTenthsOfPoint = 90;
constexpr COLORREF kText = RGB(255, 255, 255);
constexpr COLORREF kBack = RGB(24, 27, 33);
constexpr std::uint16_t kFormat = DT_LEFT | DT_TOP | DT_NOPREFIX;

// At 96 dots per inch; below the caption.
constexpr int kDpi = 96;
constexpr int kLeft = 6;
constexpr int kTop = 24;
constexpr int kWidth = 300;
constexpr int kLine = 16;

}  // namespace

void StatisticsOverlay::Show(const std::shared_ptr<CDecoder>& decoder, const std::wstring& lines) {
    const std::shared_ptr<CDecoder> before = m_decoder.lock();
    const long earlier[] = {m_text, m_font, m_brush};
    m_decoder = decoder;
    m_text = m_font = m_brush = 0;
    if (decoder && !lines.empty()) {
        GraphicObjects& objects = *decoder->Overlays();
        const HWND window = decoder->Window();
        const auto scaled = [dpi = util::DpiOf(window)](int length) { return MulDiv(length, dpi, kDpi); };
        const int count = 1 + static_cast<int>(std::count(lines.begin(), lines.end(), L'\n'));
        m_font = objects.CreateFont(kTenthsOfPoint, L"MS Shell Dlg", kText, window);
        m_brush = objects.CreateBrush(kBack);
        m_text = objects.DrawText(
            lines, {scaled(kLeft), scaled(kTop), scaled(kLeft + kWidth), scaled(kTop + count * kLine)},
            kFormat, m_font, m_brush);
    }
    // After the new ones, so that no picture goes without.
    for (const long object : earlier)
        if (before && object != 0) before->Overlays()->Remove(object);
}

}  // namespace norix
