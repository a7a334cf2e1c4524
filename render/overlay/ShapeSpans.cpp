#include "render/overlay/ShapeSpans.h"

#include <algorithm>
#include <array>
#include <new>

#include "util/Handles.h"

namespace norix {
namespace {

constexpr int kLongestSide = 4096;
constexpr int kMostPixels = 1920 * 1200;  // 9 MB while the runs are sought
constexpr std::size_t kMostColours = 4;   // pen, brush and what shows between a pen's dashes
constexpr std::size_t kMostRuns = 8192;

// GDI writes zero into the byte of a 32-bit pixel that holds no colour. So this is where it wrote nothing.
constexpr std::uint32_t kUntouched = 0xFF000000;

constexpr std::size_t kRunsPerCall = 256;
constexpr std::array<DWORD, kRunsPerCall> kPointsPerRun = [] {
    std::array<DWORD, kRunsPerCall> counts{};
    counts.fill(2);
    return counts;
}();

}  // namespace

bool ShapeSpans::Find(const RECT& bounds, const Shape& shape) noexcept try {
    m_colours.clear();
    m_count = 0;
    const int width = bounds.right - bounds.left;
    const int height = bounds.bottom - bounds.top;
    if (width < 1 || height < 1 || width > kLongestSide || height > kLongestSide ||
        width * height > kMostPixels)
        return false;
    m_corner = {bounds.left, bounds.top};

    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    const util::UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    void* bits = nullptr;
    const util::UniqueBitmap bitmap(CreateDIBSection(dc.Get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    if (!dc || !bitmap) return false;
    const util::SelectGuard selected(dc.Get(), bitmap.Get());
    auto* const pixels = static_cast<std::uint32_t*>(bits);
    std::fill_n(pixels, static_cast<std::size_t>(width) * height, kUntouched);
    SetViewportOrgEx(dc.Get(), -bounds.left, -bounds.top, nullptr);
    shape.DrawOn(dc.Get());
    GdiFlush();
    if (Collect(pixels, width, height)) return true;
    m_colours.clear();
    return false;
} catch (const std::bad_alloc&) {
    m_colours.clear();
    return false;
}

bool ShapeSpans::Collect(const std::uint32_t* pixels, int width, int height) {
    for (int row = 0; row < height; ++row, pixels += width) {
        for (int begin = 0; begin < width;) {
            const std::uint32_t pixel = pixels[begin];
            int end = begin + 1;
            while (end < width && pixels[end] == pixel)
                ++end;
            if (pixel != kUntouched &&
                !Add(pixel, {static_cast<std::int16_t>(row), static_cast<std::int16_t>(begin),
                             static_cast<std::int16_t>(end)}))
                return false;
            begin = end;
        }
    }
    for (Colour& colour : m_colours)
        colour.runs.shrink_to_fit();
    return true;
}

bool ShapeSpans::Add(std::uint32_t pixel, Run run) {
    const COLORREF colour = RGB((pixel >> 16) & 0xFF, (pixel >> 8) & 0xFF, pixel & 0xFF);
    auto known = std::find_if(m_colours.begin(), m_colours.end(),
                              [&](const Colour& candidate) { return candidate.colour == colour; });
    if (known == m_colours.end()) {
        if (m_colours.size() == kMostColours) return false;
        known = m_colours.insert(m_colours.end(), Colour{colour, {}});
    }
    known->runs.push_back(run);
    return ++m_count <= kMostRuns;
}

void ShapeSpans::Draw(HDC dc) const {
    if (!DrawInMemory(dc)) DrawLines(dc);
}

// Only into bitmaps whose last row comes first, as the presenter's: the system does not always tell of others
// that their first one does.
bool ShapeSpans::DrawInMemory(HDC dc) const {
    DIBSECTION bitmap = {};
    const HGDIOBJ selected = GetCurrentObject(dc, OBJ_BITMAP);
    if (!selected || GetObjectW(selected, sizeof(bitmap), &bitmap) != sizeof(bitmap)) return false;
    POINT origin = {};
    if (!bitmap.dsBm.bmBits || bitmap.dsBm.bmBitsPixel != 32 || bitmap.dsBmih.biHeight <= 0 ||
        bitmap.dsBmih.biCompression != BI_RGB || !GetViewportOrgEx(dc, &origin) || origin.x || origin.y)
        return false;
    GdiFlush();  // what was drawn before lies below
    auto* const pixels = static_cast<std::uint32_t*>(bitmap.dsBm.bmBits);
    const LONG width = bitmap.dsBm.bmWidth;
    const LONG height = bitmap.dsBm.bmHeight;
    for (const Colour& colour : m_colours) {
        const std::uint32_t pixel = static_cast<std::uint32_t>(GetRValue(colour.colour)) << 16 |
                                    static_cast<std::uint32_t>(GetGValue(colour.colour)) << 8 |
                                    GetBValue(colour.colour);
        for (const Run& run : colour.runs) {
            const LONG y = m_corner.y + run.row;
            const LONG begin = std::max(m_corner.x + run.begin, 0L);
            const LONG end = std::min(m_corner.x + run.end, width);
            if (y < 0 || y >= height || begin >= end) continue;
            std::uint32_t* const row = pixels + static_cast<std::size_t>(height - 1 - y) * width;
            std::fill(row + begin, row + end, pixel);
        }
    }
    return true;
}

void ShapeSpans::DrawLines(HDC dc) const {
    const util::SelectGuard pen(dc, GetStockObject(DC_PEN));
    const COLORREF previous = GetDCPenColor(dc);
    std::array<POINT, 2 * kRunsPerCall> points;
    for (const Colour& colour : m_colours) {
        SetDCPenColor(dc, colour.colour);
        for (std::size_t done = 0; done < colour.runs.size();) {
            const std::size_t count = std::min(colour.runs.size() - done, kRunsPerCall);
            for (std::size_t i = 0; i < count; ++i) {
                const Run& run = colour.runs[done + i];
                // A line ends before its last point.
                points[2 * i] = {m_corner.x + run.begin, m_corner.y + run.row};
                points[2 * i + 1] = {m_corner.x + run.end, m_corner.y + run.row};
            }
            PolyPolyline(dc, points.data(), kPointsPerRun.data(), static_cast<DWORD>(count));
            done += count;
        }
    }
    SetDCPenColor(dc, previous);
}

}  // namespace norix
