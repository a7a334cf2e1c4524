#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "control/view/ViewCoordinates.h"
#include "control/view/ViewHost.h"
#include "render/present/Geometry.h"

namespace norix {

class GraphicObjects;
class ViewCommands;

/// The host's commands on the graphic objects over the picture. They belong to the connection's decoder: all
/// answer E_POINTER while there is none. Coordinates are the video's. Window thread.
class DrawingCommands {
  public:
    DrawingCommands(ViewHost& host, const ViewCommands& view) : m_host(host), m_view(view) {}

    /// Of each value the low byte counts.
    struct Colour {
        short red;
        short green;
        short blue;
    };

    /// The new handle; 0 when there is none to be had.
    long CreatePen(Colour colour, short width, short style);
    long CreateBrush(Colour colour);
    long CreateFont(Colour colour, long tenthsOfPoint, const std::wstring& face);

    /// The new handle, E_OUTOFMEMORY, or E_FAIL when the place in the window can't be known.
    long DrawLine(ViewPoint begin, ViewPoint end, long pen);
    long DrawRectangle(const ViewBox& box, long pen, long brush);
    long DrawEllipse(const ViewBox& box, long pen, long brush);
    long DrawText(const std::wstring& text, const ViewBox& box, short format, long font, long brush);

    /// 0, or E_FAIL when nothing has that handle.
    long Remove(long handle);
    long RemoveAll();

    /// The window's size has changed.
    void Resize(PixelSize from, PixelSize to);

  private:
    std::shared_ptr<GraphicObjects> Objects() const;
    long Shown(long result) const;
    template <class Draw>
    long InBox(const ViewBox& box, Draw&& draw) const;

    ViewHost& m_host;
    const ViewCommands& m_view;
};

}  // namespace norix
