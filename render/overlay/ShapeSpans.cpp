#include "render/overlay/ShapeSpans.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

namespace norix {
namespace {

constexpr int kLongestSide = 4096;
constexpr int kMostPixels = 1920 * 1200;  // 9 MB while the runs are sought
constexpr std::size_t kMostColours = 4;   // pen, brush and what shows between a pen's dashes
constexpr std::size_t kMostRuns = 8192;

// GDI writes zero into the byte of a 32-bit pixel that holds no colour. So this is where it wrote nothing.
constexpr std::uint32_t kUntouched = 0xFF000000;

// A process gets 10000 GDI objects, for everything that it shows.
constexpr long kMostRegions = 2048;
std::atomic<long> s_regions{0};  // of the process

}  // namespace

bool ShapeSpans::Find(const RECT& bounds, const Shape& shape) noexcept try {
    Forget();
    const int width = bounds.right - bounds.left;
    const int height = bounds.bottom - bounds.top;
    if (width < 1 || height < 1 || width > kLongestSide || height > kLongestSide ||
        width * height > kMostPixels)
        return false;

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
    if (Collect(pixels, width, height) && MakeRegions({bounds.left, bounds.top})) return true;
    Forget();
    return false;
} catch (const std::bad_alloc&) {
    Forget();
    return false;
}

bool ShapeSpans::Collect(const std::uint32_t* pixels, int width, int height) {
    for (int row = 0; row < height; ++row, pixels += width) {
        for (int begin = 0; begin < width;) {
            const std::uint32_t pixel = pixels[begin];
            int end = begin + 1;
            while (end < width && pixels[end] == pixel)
                ++end;
            if (pixel != kUntouched && !Add(pixel, {begin, row, end, row + 1})) return false;
            begin = end;
        }
    }
    return true;
}

bool ShapeSpans::Add(std::uint32_t pixel, const RECT& run) {
    const COLORREF colour = RGB((pixel >> 16) & 0xFF, (pixel >> 8) & 0xFF, pixel & 0xFF);
    auto known = std::find_if(m_colours.begin(), m_colours.end(),
                              [&](const Colour& candidate) { return candidate.colour == colour; });
    if (known == m_colours.end()) {
        if (m_colours.size() == kMostColours) return false;
        known = m_colours.insert(m_colours.end(), Colour{colour, {}, {}, {}});
    }
    known->runs.push_back(run);
    return ++m_count <= kMostRuns;
}

bool ShapeSpans::MakeRegions(POINT corner) {
    const long wanted = static_cast<long>(m_colours.size());
    m_regions = wanted;
    if (s_regions.fetch_add(wanted) + wanted > kMostRegions) return false;
    std::vector<std::byte> memory;
    for (Colour& colour : m_colours) {
        const std::size_t bytes = colour.runs.size() * sizeof(RECT);
        memory.resize(sizeof(RGNDATAHEADER) + bytes);
        auto* const data = reinterpret_cast<RGNDATA*>(memory.data());
        data->rdh = {sizeof(RGNDATAHEADER),
                     RDH_RECTANGLES,
                     static_cast<DWORD>(colour.runs.size()),
                     static_cast<DWORD>(bytes),
                     {0, 0, kLongestSide, kLongestSide}};
        std::memcpy(data->Buffer, colour.runs.data(), bytes);
        colour.region = util::UniqueRegion(ExtCreateRegion(nullptr, static_cast<DWORD>(memory.size()), data));
        if (!colour.region) return false;
        OffsetRgn(colour.region.Get(), corner.x, corner.y);
        GetRgnBox(colour.region.Get(), &colour.bounds);
        colour.runs = {};
    }
    return true;
}

void ShapeSpans::Forget() noexcept {
    m_colours.clear();
    m_count = 0;
    s_regions -= std::exchange(m_regions, 0);
}

// One rectangle within a region: to Wine that costs a quarter of filling the region.
void ShapeSpans::Draw(HDC dc) const {
    const COLORREF previous = GetBkColor(dc);
    for (const Colour& colour : m_colours) {
        SelectClipRgn(dc, colour.region.Get());
        SetBkColor(dc, colour.colour);
        ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &colour.bounds, nullptr, 0, nullptr);
    }
    SelectClipRgn(dc, nullptr);
    SetBkColor(dc, previous);
}

}  // namespace norix
