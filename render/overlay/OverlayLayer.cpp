#include "render/overlay/OverlayLayer.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "util/Handles.h"

namespace norix {
namespace {

// To paint twice and look through all pixels takes as long as some pictures' painting.
constexpr int kSettled = 3;
// Painted at a time, on each ground: 4 MB.
constexpr int kMostPixels = 1 << 20;

// A bitmap of one colour to paint a part of the window on.
class Ground {
  public:
    explicit Ground(PixelSize size) : m_size(size), m_dc(CreateCompatibleDC(nullptr)) {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = size.width;
        info.bmiHeader.biHeight = -size.height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        m_bitmap = util::UniqueBitmap(CreateDIBSection(m_dc.Get(), &info, DIB_RGB_COLORS,
                                                       reinterpret_cast<void**>(&m_pixels), nullptr, 0));
        if (m_bitmap) m_selected.emplace(m_dc.Get(), m_bitmap.Get());
    }
    explicit operator bool() const { return m_dc && m_selected && *m_selected; }

    void Paint(OverlayPainter& painter, std::uint32_t colour, int top) {
        GdiFlush();
        std::fill_n(m_pixels, static_cast<std::size_t>(m_size.width) * m_size.height, colour);
        SetViewportOrgEx(m_dc.Get(), 0, -top, nullptr);
        painter.PaintOverlays(m_dc.Get());
        GdiFlush();
    }
    const std::uint32_t* Row(int row) const {
        return m_pixels + static_cast<std::ptrdiff_t>(row) * m_size.width;
    }

  private:
    const PixelSize m_size;
    std::uint32_t* m_pixels = nullptr;  // the bitmap's
    util::UniqueMemoryDc m_dc;
    util::UniqueBitmap m_bitmap;
    std::optional<util::SelectGuard> m_selected;
};

}  // namespace

bool OverlayLayer::Follow(PixelSize window) {
    const std::optional<unsigned> version = m_painter ? m_painter->Version() : std::nullopt;
    if (!version) return false;
    if (*version != m_version || !(window == m_window)) {
        m_version = *version;
        m_window = window;
        m_unchanged = 0;
        m_state = State::kWaiting;
        m_pixels.Clear();
        return false;
    }
    if (m_state == State::kWaiting && m_painter->HasOverlays() && ++m_unchanged >= kSettled)
        m_state = Build() ? State::kBuilt : State::kRefused;
    return m_state == State::kBuilt;
}

bool OverlayLayer::Build() noexcept try {
    const int rowsAtOnce = std::clamp(kMostPixels / m_window.width, 1, m_window.height);
    Ground black({m_window.width, rowsAtOnce});
    Ground white({m_window.width, rowsAtOnce});
    if (!black || !white) return false;
    for (int top = 0; top < m_window.height; top += rowsAtOnce) {
        black.Paint(*m_painter, 0, top);
        white.Paint(*m_painter, 0xFFFFFF, top);
        for (int row = 0; row < std::min(rowsAtOnce, m_window.height - top); ++row)
            m_pixels.AddRow(black.Row(row), white.Row(row), m_window.width);
    }
    // What has changed meanwhile is on one of them only, perhaps.
    if (m_painter->Version() == m_version) return true;
    m_pixels.Clear();
    return false;
} catch (...) {  // of the painter's, and without memory
    m_pixels.Clear();
    return false;
}

}  // namespace norix
