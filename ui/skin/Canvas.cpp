#include "ui/skin/Canvas.h"

#include <algorithm>

namespace norix {

Canvas::Canvas(HDC like, SIZE size)
    : m_size{std::max(size.cx, LONG{1}), std::max(size.cy, LONG{1})}, m_dc(CreateCompatibleDC(like)) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = m_size.cx;
    info.bmiHeader.biHeight = -m_size.cy;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    m_bitmap.Reset(CreateDIBSection(like, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    m_bits = static_cast<std::uint32_t*>(bits);
    if (!m_dc || !m_bitmap || !m_bits) return;
    m_before = SelectObject(m_dc.Get(), m_bitmap.Get());
    m_ready = m_before != nullptr;
}

Canvas::~Canvas() {
    if (m_before) SelectObject(m_dc.Get(), m_before);
}

void Canvas::Fill(const RECT& area, COLORREF colour) {
    if (!m_ready) return;
    const util::UniqueBrush brush(CreateSolidBrush(colour));
    FillRect(m_dc.Get(), &area, brush.Get());
}

void Canvas::Frame(const RECT& area, COLORREF colour) {
    if (!m_ready) return;
    const util::UniqueBrush brush(CreateSolidBrush(colour));
    FrameRect(m_dc.Get(), &area, brush.Get());
}

void Canvas::Blend(int x, int y, std::uint32_t blueGreenRed, unsigned opacity) {
    if (!m_ready || opacity == 0 || x < 0 || y < 0 || x >= m_size.cx || y >= m_size.cy) return;
    std::uint32_t& pixel = m_bits[y * m_size.cx + x];
    std::uint32_t mixed = 0;
    for (unsigned shift = 0; shift < 24; shift += 8) {
        const unsigned to = blueGreenRed >> shift & 0xFFu;
        const unsigned from = pixel >> shift & 0xFFu;
        mixed |= (to * opacity + from * (255u - opacity) + 127u) / 255u << shift;
    }
    pixel = mixed;
}

void Canvas::CopyTo(HDC dc) const {
    if (m_ready) BitBlt(dc, 0, 0, m_size.cx, m_size.cy, m_dc.Get(), 0, 0, SRCCOPY);
}

}  // namespace norix
