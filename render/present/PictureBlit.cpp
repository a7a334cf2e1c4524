#include "render/present/PictureBlit.h"

namespace norix {

bool StretchBgr(HDC dc, const PixelRect& target, const BgrPart& part) {
    // The bitmap begins at the part's own first row. So its vertical origin is 0, which means the same to
    // top-down and bottom-up bitmaps; GDI implementations differ on other values.
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = part.pictureWidth;
    info.bmiHeader.biHeight = -part.size.height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    info.bmiHeader.biCompression = BI_RGB;
    SetStretchBltMode(dc, COLORONCOLOR);
    return StretchDIBits(dc, target.left, target.top, target.Width(), target.Height(), part.left, 0,
                         part.size.width, part.size.height, part.firstRow, &info, DIB_RGB_COLORS,
                         SRCCOPY) > 0;
}

}  // namespace norix
