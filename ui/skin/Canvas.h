#pragma once

#include <windows.h>

#include <cstdint>

#include "util/Handles.h"

namespace norix {

/// Pixels to draw on aside, so that what is shown never flickers: 32 bits each, by GDI and by hand. The
/// window's thread.
class Canvas {
  public:
    /// At least one pixel each way. Without memory, Dc is null and nothing can be drawn.
    Canvas(HDC like, SIZE size);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    HDC Dc() const { return m_ready ? m_dc.Get() : nullptr; }
    SIZE Size() const { return m_size; }

    void Fill(const RECT& area, COLORREF colour);
    void Frame(const RECT& area, COLORREF colour);
    /// Mixes a colour in; `opacity` 0 to 255. Points outside are left alone.
    void Blend(int x, int y, std::uint32_t blueGreenRed, unsigned opacity);
    /// Shows all of it.
    void CopyTo(HDC dc) const;

  private:
    const SIZE m_size;
    util::UniqueMemoryDc m_dc;
    util::UniqueBitmap m_bitmap;
    HGDIOBJ m_before = nullptr;
    std::uint32_t* m_bits = nullptr;  // top row first
    bool m_ready = false;
};

/// A colour in the order of pixels.
constexpr std::uint32_t PixelOf(COLORREF colour) {
    return (colour & 0xFFu) << 16 | (colour & 0xFF00u) | (colour >> 16 & 0xFFu);
}

}  // namespace norix
