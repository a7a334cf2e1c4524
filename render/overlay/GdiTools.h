#pragma once

// What graphic objects are drawn with. Made by the host, found by the system's handle, and kept alive by
// every object that is drawn with them.

#include <windows.h>

#include <utility>

#include "util/Handles.h"

namespace norix {

class CGdiTool {
  public:
    virtual ~CGdiTool() = default;
    CGdiTool(const CGdiTool&) = delete;
    CGdiTool& operator=(const CGdiTool&) = delete;

    virtual HGDIOBJ Handle() const = 0;

  protected:
    CGdiTool() = default;
};

class CPen final : public CGdiTool {
  public:
    CPen(int style, int width, COLORREF colour) : m_pen(CreatePen(style, width, colour)) {}
    HGDIOBJ Handle() const override { return m_pen.Get(); }

  private:
    const util::UniquePen m_pen;
};

class CBrush final : public CGdiTool {
  public:
    explicit CBrush(COLORREF colour) : m_brush(CreateSolidBrush(colour)) {}
    HGDIOBJ Handle() const override { return m_brush.Get(); }

  private:
    const util::UniqueBrush m_brush;
};

class CFontAndColor final : public CGdiTool {
  public:
    CFontAndColor(util::UniqueFont font, COLORREF colour) : m_font(std::move(font)), m_colour(colour) {}
    HGDIOBJ Handle() const override { return m_font.Get(); }
    COLORREF Colour() const { return m_colour; }

  private:
    const util::UniqueFont m_font;
    const COLORREF m_colour;
};

/// A font of so many tenths of a point; empty when the system has none to offer.
util::UniqueFont MakePointFont(long tenthsOfPoint, const wchar_t* face, int dpi);

}  // namespace norix
