#include "render/overlay/PictureDecoration.h"

#include <algorithm>
#include <iterator>

#include "util/Log.h"

namespace norix {
namespace {

constexpr COLORREF kCaptionBand = RGB(24, 27, 33);
constexpr COLORREF kCaptionText = RGB(240, 242, 245);
constexpr COLORREF kBorder = RGB(96, 102, 112);
constexpr COLORREF kRegion = RGB(64, 200, 96);
constexpr COLORREF kRegionInAlarm = RGB(255, 0, 0);
constexpr COLORREF kRegionText = RGB(255, 255, 255);

constexpr int kScreenDpi = 96;
// In screen pixels:
constexpr int kBandHeight = 18;
constexpr int kTextMargin = 6;
constexpr int kRegionLine = 2;
constexpr int kRegionLineInAlarm = 4;
constexpr int kRegionTextHeight = 16;

// Gives the device context back as it was.
class SavedDc {
  public:
    explicit SavedDc(HDC dc) : m_dc(dc), m_saved(SaveDC(dc)) {}
    ~SavedDc() { RestoreDC(m_dc, m_saved); }
    SavedDc(const SavedDc&) = delete;
    SavedDc& operator=(const SavedDc&) = delete;

  private:
    HDC m_dc;
    int m_saved;
};

// The device's own pixels for a length in screen pixels: printers have many more to the inch.
int OnDevice(HDC dc, int pixels) {
    const int dpi = GetDeviceCaps(dc, LOGPIXELSY);
    return dpi > kScreenDpi ? MulDiv(pixels, dpi, kScreenDpi) : pixels;
}

bool Fill(HDC dc, const RECT& rect, COLORREF colour) {
    SetBkColor(dc, colour);
    return ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &rect, nullptr, 0, nullptr) != FALSE;
}

// The edges of a rectangle as four filled bars: alike on screens, memory bitmaps and printers, and without a
// pen or brush to create.
bool DrawFrame(HDC dc, const RECT& rect, int line, COLORREF colour) {
    const RECT bars[] = {{rect.left, rect.top, rect.right, rect.top + line},
                         {rect.left, rect.bottom - line, rect.right, rect.bottom},
                         {rect.left, rect.top, rect.left + line, rect.bottom},
                         {rect.right - line, rect.top, rect.right, rect.bottom}};
    return std::all_of(std::begin(bars), std::end(bars),
                       [&](const RECT& bar) { return Fill(dc, bar, colour); });
}

// What a region is called and how much moves in it, on its upper left corner. Nothing is allocated: it is
// drawn with each picture.
void DrawRegionText(HDC dc, const PixelRect& rect, const Picture::Region& region, const std::wstring& name) {
    wchar_t text[64];
    const int length = _snwprintf(text, std::size(text), L"%.40ls%ls%u %%", name.c_str(),
                                  name.empty() ? L"" : L"  ", static_cast<unsigned>(region.level));
    const SavedDc saved(dc);
    SelectObject(dc, GetStockObject(DEFAULT_GUI_FONT));
    SetTextColor(dc, kRegionText);
    SetBkColor(dc, region.alarm ? kRegionInAlarm : kCaptionBand);
    SIZE extent = {};
    if (length <= 0 || !GetTextExtentPoint32W(dc, text, length, &extent)) return;
    const int line = region.alarm ? kRegionLineInAlarm : kRegionLine;
    const RECT band = {rect.left + line, rect.top + line,
                       std::min(rect.left + line + static_cast<int>(extent.cx) + 2 * line, rect.right - line),
                       std::min(rect.top + line + kRegionTextHeight, rect.bottom - line)};
    ExtTextOutW(dc, band.left + line, band.top + 1, ETO_OPAQUE | ETO_CLIPPED, &band, text,
                static_cast<UINT>(length), nullptr);
}

}  // namespace

void DrawCaption(HDC dc, const RECT& area, const std::wstring& text) {
    const SavedDc saved(dc);
    RECT band = area;
    band.bottom = std::min(area.bottom, area.top + OnDevice(dc, kBandHeight));
    Fill(dc, band, kCaptionBand);

    // The stock font is a screen font. On a printer it would be a speck, so the printer's own font serves.
    const bool screen = GetDeviceCaps(dc, TECHNOLOGY) == DT_RASDISPLAY;
    SelectObject(dc, GetStockObject(screen ? DEFAULT_GUI_FONT : DEVICE_DEFAULT_FONT));
    SetTextColor(dc, kCaptionText);
    SetBkMode(dc, TRANSPARENT);
    band.left += OnDevice(dc, kTextMargin);
    band.right -= OnDevice(dc, kTextMargin);
    if (band.left < band.right)
        DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &band,
                  DT_SINGLELINE | DT_VCENTER | DT_LEFT | DT_END_ELLIPSIS | DT_NOPREFIX);
}

void DrawBorder(HDC dc, const RECT& area) {
    const SavedDc saved(dc);
    DrawFrame(dc, area, OnDevice(dc, 1), kBorder);
}

void DrawGDIRect(HDC dc, const PixelRect& rect, bool alarm, HWND window) {
    const SavedDc saved(dc);
    if (!DrawFrame(dc, {rect.left, rect.top, rect.right, rect.bottom},
                   alarm ? kRegionLineInAlarm : kRegionLine, alarm ? kRegionInAlarm : kRegion))
        NORIX_LOG("CDecoder::DrawGDIRect", 1,
                  "CDecoder::DrawGDIRect exception! Window handle%x(Is window? %s)!",
                  static_cast<unsigned>(reinterpret_cast<UINT_PTR>(window)), IsWindow(window) ? "yes" : "no");
}

bool HasRegions(const Picture& picture) {
    return std::any_of(picture.regions.begin(), picture.regions.end(),
                       [](const Picture::Region& region) { return region.drawn; });
}

void DrawRegions(HDC dc, PixelSize area, const Picture& picture, const PictureView::Settings& settings,
                 HWND window) {
    static const std::wstring kNameless;
    for (std::size_t i = 0; i < picture.regions.size(); ++i) {
        const Picture::Region& region = picture.regions[i];
        if (!region.drawn) continue;
        const PixelRect rect =
            PictureToWindow(region.rect, settings.source, picture.size, settings.rotation, area);
        DrawGDIRect(dc, rect, region.alarm, window);
        DrawRegionText(dc, rect, region, settings.regionNames ? (*settings.regionNames)[i] : kNameless);
    }
}

void DrawObjects(HDC dc, OverlayPainter* overlays, HWND window) {
    if (!overlays || !overlays->HasOverlays()) return;
    const SavedDc saved(dc);
    try {
        overlays->PaintOverlays(dc);
    } catch (...) {
        NORIX_LOG("CDecoder::DrawAllGraphicObjs", 1,
                  "CDecoder::DrawAllGraphicObjs exception! Window handle%x(Is window? %s)!",
                  static_cast<unsigned>(reinterpret_cast<UINT_PTR>(window)), IsWindow(window) ? "yes" : "no");
    }
}

void DrawCaptionAndBorder(HDC dc, PixelSize area, const PictureView::Settings& settings) {
    const RECT whole{0, 0, area.width, area.height};
    if (settings.caption) DrawCaption(dc, whole, *settings.caption);
    if (settings.border) DrawBorder(dc, whole);
}

}  // namespace norix
