#include "render/present/StatusPicture.h"

#include <cstdint>
#include <cstdlib>

#include "render/present/Geometry.h"
#include "render/present/res/resource.h"

namespace norix {
namespace {

// The colour around the picture when there is no picture to ask.
constexpr COLORREF kBackground = RGB(24, 27, 33);

HMODULE ThisModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ThisModule), &module);
    return module;
}

// A bitmap resource is a bitmap file without its file header: header, palette, rows.
struct PackedBitmap {
    const BITMAPINFO* info = nullptr;
    const std::uint8_t* bits = nullptr;
    PixelSize size;

    explicit operator bool() const { return bits != nullptr; }
};

PackedBitmap FindBitmap(HMODULE module, WORD id) {
    const HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(id), reinterpret_cast<LPCWSTR>(RT_BITMAP));
    const HGLOBAL loaded = resource ? LoadResource(module, resource) : nullptr;
    const void* data = loaded ? LockResource(loaded) : nullptr;
    if (!data || SizeofResource(module, resource) < sizeof(BITMAPINFOHEADER)) return {};
    const auto* info = static_cast<const BITMAPINFO*>(data);
    const BITMAPINFOHEADER& header = info->bmiHeader;
    DWORD colours = header.biClrUsed;
    if (colours == 0 && header.biBitCount <= 8) colours = 1u << header.biBitCount;
    return {info,
            static_cast<const std::uint8_t*>(data) + header.biSize + colours * sizeof(RGBQUAD),
            {static_cast<int>(header.biWidth), std::abs(static_cast<int>(header.biHeight))}};
}

// Our artwork has a palette and its background in the corner that is stored first.
COLORREF CornerColour(const PackedBitmap& bitmap) {
    if (bitmap.info->bmiHeader.biBitCount != 8 || bitmap.info->bmiHeader.biCompression != BI_RGB)
        return kBackground;
    const RGBQUAD& colour = bitmap.info->bmiColors[bitmap.bits[0]];
    return RGB(colour.rgbRed, colour.rgbGreen, colour.rgbBlue);
}

}  // namespace

bool DrawStatusPicture(HDC dc, const RECT& area, StatusPicture kind) {
    const WORD id = kind == StatusPicture::ConnectFail ? IDB_CONNECTFAIL : IDB_DISCONNECT;
    const bool empty = kind == StatusPicture::None;
    const PackedBitmap bitmap = empty ? PackedBitmap() : FindBitmap(ThisModule(), id);

    const int saved = SaveDC(dc);
    SetBkColor(dc, bitmap ? CornerColour(bitmap) : kBackground);
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &area, nullptr, 0, nullptr);
    bool drawn = empty;
    if (bitmap) {
        const PixelRect to =
            FitKeepingAspect(bitmap.size, {static_cast<int>(area.left), static_cast<int>(area.top),
                                           static_cast<int>(area.right), static_cast<int>(area.bottom)});
        // Drawn rarely, so it may be drawn smoothly; the origin of the halftone pattern has to be set.
        SetStretchBltMode(dc, HALFTONE);
        SetBrushOrgEx(dc, 0, 0, nullptr);
        drawn = !to.IsEmpty() &&
                StretchDIBits(dc, to.left, to.top, to.Width(), to.Height(), 0, 0, bitmap.size.width,
                              bitmap.size.height, bitmap.bits, bitmap.info, DIB_RGB_COLORS, SRCCOPY) > 0;
    }
    RestoreDC(dc, saved);
    return drawn;
}

}  // namespace norix
