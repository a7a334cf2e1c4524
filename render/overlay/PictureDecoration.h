#pragma once

// What lies over the picture: region rectangles, caption, border. Uses stock objects only, so that drawing
// creates nothing and cannot leak.

#include <windows.h>

#include <string>

#include "render/present/Geometry.h"
#include "render/present/Presenter.h"

namespace norix {

/// One line of light text on a dark band along the upper edge of `area`, cut with an ellipsis where it is too
/// long. Any device context: the size of the text follows the device's resolution.
void DrawCaption(HDC dc, const RECT& area, const std::wstring& text);

/// A frame along the inside of `area`, one pixel wide on a screen.
void DrawBorder(HDC dc, const RECT& area);

/// One region: an unfilled rectangle, two pixels wide, in the alarm's colour and wider while it is in alarm.
/// A failure is only logged, with `window` named in the line.
void DrawGDIRect(HDC dc, const PixelRect& rect, bool alarm, HWND window);

// Everything over one picture, in a device context whose origin is the window's, from the lowest to the
// highest.

void DrawRegions(HDC dc, PixelSize area, const Picture& picture, const PictureView::Settings& settings,
                 HWND window);
/// The host's graphic objects. A painter that fails costs its own drawing only.
void DrawObjects(HDC dc, OverlayPainter* overlays, HWND window);
void DrawCaptionAndBorder(HDC dc, PixelSize area, const PictureView::Settings& settings);

bool HasRegions(const Picture& picture);

}  // namespace norix
