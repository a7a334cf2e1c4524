#pragma once

#include <windows.h>

#include "codec/BgrScaler.h"
#include "render/present/Geometry.h"
#include "util/Handles.h"

namespace norix {

/// A picture in memory that GDI and vector code draw on in turn and that can be copied anywhere: printers and
/// metafiles need not take a bitmap made for the screen, but they all take bits. It doesn't depend on the
/// display mode. Belongs to one thread at a time.
class DibCanvas {
  public:
    /// False afterwards when the memory was not to be had.
    explicit DibCanvas(PixelSize size);

    explicit operator bool() const { return m_dc && m_bitmap && m_selected; }
    HDC Dc() const { return m_dc.Get(); }
    PixelSize Size() const { return m_size; }

    /// The pixels, once GDI has done all that it was asked to do with them.
    codec::BgrScaler::Target Pixels() const;

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
