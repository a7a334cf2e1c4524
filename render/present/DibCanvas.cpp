#include "render/present/DibCanvas.h"

namespace norix {

BITMAPINFO DibCanvas::Describe(PixelSize size) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = size.width;
    info.bmiHeader.biHeight = size.height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    return info;
}

DibCanvas::DibCanvas(PixelSize size)
    : m_size(size),
      m_dc(CreateCompatibleDC(nullptr)),
      m_bitmap([&] {
          const BITMAPINFO info = Describe(size);
          return CreateDIBSection(m_dc.Get(), &info, DIB_RGB_COLORS, &m_bits, nullptr, 0);
      }()),
      m_selected(m_dc.Get(), m_bitmap.Get()) {}

codec::BgrScaler::Target DibCanvas::Pixels() const {
    GdiFlush();
    const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(m_size.width) * 4;
    return {static_cast<std::uint8_t*>(m_bits) + (m_size.height - 1) * stride, -stride, m_size.width,
            m_size.height};
}

bool DibCanvas::CopyTo(HDC dc, const RECT& target) const {
    GdiFlush();
    const BITMAPINFO info = Describe(m_size);
    SetStretchBltMode(dc, COLORONCOLOR);
    return StretchDIBits(dc, target.left, target.top, target.right - target.left, target.bottom - target.top,
                         0, 0, m_size.width, m_size.height, m_bits, &info, DIB_RGB_COLORS, SRCCOPY) > 0;
}

}  // namespace norix
