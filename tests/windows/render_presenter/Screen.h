#pragma once

// What the presenter tests look at: windows on the screen, pictures made of coloured cells, and the pixels
// that can be seen afterwards.

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "render/present/Geometry.h"
#include "render/present/Presenter.h"

namespace norix {

// Rows of colours. A picture shows each as a rectangle of equal size, and so does the window afterwards:
// what a presenter does to a picture is then described by another grid.
using Grid = std::vector<std::vector<COLORREF>>;

// Four columns, three rows, all different, no two alike when mirrored or turned.
Grid TestGrid();
Grid Turned(const Grid& grid, Rotation rotation);
Grid Part(const Grid& grid, int left, int top, int right, int bottom);

// A decoded picture that owns its pixels.
class GridPicture {
  public:
    // Rows follow each other without padding when `stride` is 0.
    GridPicture(const Grid& grid, PixelSize size, codec::PixelFormat format, int stride = 0);

    const Picture& Get() const { return m_picture; }
    Picture& Get() { return m_picture; }

  private:
    std::vector<std::uint8_t> m_bytes;
    Picture m_picture;
};

// A visible window without a frame, above all others, filled with one colour.
class TestWindow {
  public:
    TestWindow(const PixelRect& rect, COLORREF colour, HWND parent = nullptr);
    ~TestWindow();
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    HWND Handle() const { return m_window; }
    void Move(const PixelRect& rect);

  private:
    HWND m_window;
};

// Lets all windows of the calling thread handle what was sent to them.
void PumpMessages();

// A copy of a part of the screen, or of any device context. What lies beside the screen is black.
class Pixels {
  public:
    static Pixels OfScreen(const PixelRect& rect);
    static Pixels Of(HDC dc, const PixelRect& rect);

    COLORREF At(int x, int y) const;
    PixelSize Size() const { return m_size; }

  private:
    static Pixels Of(HDC dc, const PixelRect& rect, const PixelRect& readable);

    PixelSize m_size;
    std::vector<std::uint32_t> m_pixels;
};

// True when the channels differ by no more than a conversion to YUY2 and back costs.
bool Alike(COLORREF a, COLORREF b);

// Compares points of every cell that `visible` (coordinates in the copy) holds; all cells when it is empty.
// Returns what differs, nothing when all is well.
std::vector<std::string> Differences(const Pixels& pixels, const Grid& expected,
                                     const PixelRect& visible = {});

}  // namespace norix
