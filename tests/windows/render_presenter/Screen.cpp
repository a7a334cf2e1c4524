#include "tests/windows/render_presenter/Screen.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "util/Handles.h"

namespace norix {
namespace {

constexpr wchar_t kClassName[] = L"PresenterTestWindow";

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_ERASEBKGND) {
        RECT client;
        GetClientRect(window, &client);
        const util::UniqueBrush brush(
            CreateSolidBrush(static_cast<COLORREF>(GetWindowLongPtrW(window, GWLP_USERDATA))));
        FillRect(reinterpret_cast<HDC>(wparam), &client, brush.Get());
        return 1;
    }
    return DefWindowProcW(window, message, wparam, lparam);
}

void RegisterTestClass() {
    static const bool registered = [] {
        WNDCLASSW description = {};
        description.lpfnWndProc = WindowProcedure;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = kClassName;
        return RegisterClassW(&description) != 0;
    }();
    if (!registered) std::abort();
}

// BT.601, limited range.
struct Yuv {
    std::uint8_t y, u, v;
};

Yuv ToYuv(COLORREF colour) {
    const double r = GetRValue(colour), g = GetGValue(colour), b = GetBValue(colour);
    return {static_cast<std::uint8_t>(16.5 + 0.257 * r + 0.504 * g + 0.098 * b),
            static_cast<std::uint8_t>(128.5 - 0.148 * r - 0.291 * g + 0.439 * b),
            static_cast<std::uint8_t>(128.5 + 0.439 * r - 0.368 * g - 0.071 * b)};
}

}  // namespace

Grid TestGrid() {
    return {{RGB(220, 30, 30), RGB(30, 200, 40), RGB(40, 60, 220), RGB(235, 235, 235)},
            {RGB(20, 20, 20), RGB(220, 210, 40), RGB(40, 200, 210), RGB(200, 50, 210)},
            {RGB(120, 120, 120), RGB(230, 130, 30), RGB(110, 60, 30), RGB(30, 100, 70)}};
}

Grid Turned(const Grid& grid, Rotation rotation) {
    if (rotation == Rotation::k0) return grid;
    // One quarter clockwise: the first column, read upwards, becomes the first row.
    Grid turned(grid.front().size());
    for (std::size_t column = 0; column < grid.front().size(); ++column)
        for (auto row = grid.rbegin(); row != grid.rend(); ++row)
            turned[column].push_back((*row)[column]);
    const int left = static_cast<int>(rotation) - 90;
    return Turned(turned, static_cast<Rotation>(left));
}

Grid Part(const Grid& grid, int left, int top, int right, int bottom) {
    Grid part;
    for (int row = top; row < bottom; ++row)
        part.emplace_back(grid[row].begin() + left, grid[row].begin() + right);
    return part;
}

GridPicture::GridPicture(const Grid& grid, PixelSize size, codec::PixelFormat format, int stride) {
    if (stride == 0) stride = codec::RowBytes(format, size.width);
    m_bytes.resize(static_cast<std::size_t>(stride) * size.height);
    const int rows = static_cast<int>(grid.size());
    const int columns = static_cast<int>(grid.front().size());
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const COLORREF colour = grid[y * rows / size.height][x * columns / size.width];
            std::uint8_t* pixel = &m_bytes[static_cast<std::size_t>(y) * stride + codec::RowBytes(format, x)];
            if (format == codec::PixelFormat::kBgr24) {
                pixel[0] = GetBValue(colour);
                pixel[1] = GetGValue(colour);
                pixel[2] = GetRValue(colour);
            } else {
                const Yuv yuv = ToYuv(colour);
                pixel[0] = yuv.y;
                pixel[1] = x % 2 == 0 ? yuv.u : yuv.v;
            }
        }
    }
    m_picture.data = m_bytes.data();
    m_picture.size = size;
    m_picture.stride = stride;
    m_picture.format = format;
}

TestWindow::TestWindow(const PixelRect& rect, COLORREF colour, HWND parent) {
    RegisterTestClass();
    const DWORD style = (parent ? WS_CHILD : WS_POPUP) | WS_CLIPCHILDREN | WS_CLIPSIBLINGS;
    m_window = CreateWindowExW(parent ? 0 : WS_EX_TOPMOST | WS_EX_TOOLWINDOW, kClassName, L"", style,
                               rect.left, rect.top, rect.Width(), rect.Height(), parent, nullptr,
                               GetModuleHandleW(nullptr), nullptr);
    if (!m_window) std::abort();
    SetWindowLongPtrW(m_window, GWLP_USERDATA, static_cast<LONG_PTR>(colour));
    ShowWindow(m_window, SW_SHOWNOACTIVATE);
    SetWindowPos(m_window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    UpdateWindow(m_window);
    PumpMessages();
}

TestWindow::~TestWindow() {
    DestroyWindow(m_window);
    PumpMessages();
}

void TestWindow::Move(const PixelRect& rect) {
    SetWindowPos(m_window, nullptr, rect.left, rect.top, rect.Width(), rect.Height(),
                 SWP_NOZORDER | SWP_NOACTIVATE);
    UpdateWindow(m_window);
    PumpMessages();
}

void PumpMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    GdiFlush();
}

Pixels Pixels::OfScreen(const PixelRect& rect) {
    PumpMessages();
    const util::WindowDc screen(nullptr);
    // A copy that reaches beyond the screen would fail as a whole.
    return Of(screen.Get(), rect,
              Intersect(rect, {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}));
}

Pixels Pixels::Of(HDC dc, const PixelRect& rect) {
    return Of(dc, rect, rect);
}

Pixels Pixels::Of(HDC dc, const PixelRect& rect, const PixelRect& readable) {
    Pixels pixels;
    pixels.m_size = {rect.Width(), rect.Height()};
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = rect.Width();
    info.bmiHeader.biHeight = -rect.Height();
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    const util::UniqueMemoryDc memory(CreateCompatibleDC(nullptr));
    const util::UniqueBitmap bitmap(CreateDIBSection(memory.Get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    const util::SelectGuard selected(memory.Get(), bitmap.Get());
    BitBlt(memory.Get(), readable.left - rect.left, readable.top - rect.top, readable.Width(),
           readable.Height(), dc, readable.left, readable.top, SRCCOPY);
    GdiFlush();
    const auto* first = static_cast<const std::uint32_t*>(bits);
    pixels.m_pixels.assign(first, first + static_cast<std::size_t>(rect.Width()) * rect.Height());
    return pixels;
}

COLORREF Pixels::At(int x, int y) const {
    const std::uint32_t pixel = m_pixels.at(static_cast<std::size_t>(y) * m_size.width + x);
    return RGB(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF);
}

bool Alike(COLORREF a, COLORREF b) {
    constexpr int kTolerance = 8;
    return std::abs(GetRValue(a) - GetRValue(b)) <= kTolerance &&
           std::abs(GetGValue(a) - GetGValue(b)) <= kTolerance &&
           std::abs(GetBValue(a) - GetBValue(b)) <= kTolerance;
}

std::vector<std::string> Differences(const Pixels& pixels, const Grid& expected, const PixelRect& visible) {
    std::vector<std::string> differences;
    const PixelRect inside = visible.IsEmpty() ? Whole(pixels.Size()) : visible;
    const int rows = static_cast<int>(expected.size());
    const int columns = static_cast<int>(expected.front().size());
    int compared = 0;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            // The middle and near each corner, so that an edge off by a tenth of a cell shows.
            for (const auto& [fx, fy] : {std::pair{50, 50}, {10, 10}, {90, 10}, {10, 90}, {90, 90}}) {
                const int x = (column * 100 + fx) * pixels.Size().width / (columns * 100);
                const int y = (row * 100 + fy) * pixels.Size().height / (rows * 100);
                if (x < inside.left || x >= inside.right || y < inside.top || y >= inside.bottom) continue;
                ++compared;
                const COLORREF seen = pixels.At(x, y);
                if (Alike(seen, expected[row][column])) continue;
                char text[128];
                std::snprintf(text, sizeof(text), "(%d,%d): expected %06lx, saw %06lx (bbggrr)", x, y,
                              expected[row][column], seen);
                differences.emplace_back(text);
            }
        }
    }
    if (compared == 0) differences.emplace_back("nothing was compared");
    return differences;
}

}  // namespace norix
