#pragma once

// A 24-bit picture on its way to a GDI device context.

#include <windows.h>

#include <cstdint>

#include "render/present/Geometry.h"

namespace norix {

/// Part of a top-down 24-bit picture whose rows are padded as a device-independent bitmap's are.
struct BgrPart {
    const std::uint8_t* firstRow = nullptr;  // the picture's row that holds the top of the part
    int pictureWidth = 0;
    int left = 0;  // of the part, in that row
    PixelSize size;
};

/// Stretches the part over `target` by dropping or repeating pixels. False when GDI refuses.
bool StretchBgr(HDC dc, const PixelRect& target, const BgrPart& part);

}  // namespace norix
