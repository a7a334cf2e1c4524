#pragma once

#include <windows.h>

#include "render/present/Geometry.h"
#include "util/Handles.h"

namespace norix {

/// A picture in memory that can be drawn on and then copied anywhere: printers and metafiles need not take a
/// bitmap made for the screen, but they all take bits. Belongs to one thread at a time.
class DibCanvas {
  public:
    /// False afterwards when the memory was not to be had.
    explicit DibCanvas(PixelSize size);

    explicit operator bool() const { return m_dc && m_bitmap && m_selected; }
    HDC Dc() const { return m_dc.Get(); }

    /// Stretches the whole of it over `target`; false when GDI refuses.
    bool CopyTo(HDC dc, const RECT& target) const;

  private:
    static BITMAPINFO Describe(PixelSize size);

    const PixelSize m_size;
    void* m_bits = nullptr;  // the bitmap's
    util::UniqueMemoryDc m_dc;
    util::UniqueBitmap m_bitmap;
    util::SelectGuard m_selected;
};

}  // namespace norix
