#pragma once

// The graphic objects that a host draws over the picture. Window coordinates. An object belongs to the list
// it is in (GraphicObjects), under whose lock all of this is called.

#include <windows.h>

#include <memory>
#include <string>

#include "render/overlay/GdiTools.h"
#include "render/overlay/ShapeSpans.h"
#include "render/present/Geometry.h"

namespace norix {

class CGraphicObject {
  public:
    /// Takes the process's next handle; throws std::bad_alloc.
    CGraphicObject();
    virtual ~CGraphicObject();
    CGraphicObject(const CGraphicObject&) = delete;
    CGraphicObject& operator=(const CGraphicObject&) = delete;

    /// Leaves the device context as it was.
    virtual void Draw(HDC dc) const = 0;
    long GetHandle() const { return m_handle; }
    /// The window has been stretched.
    virtual void ResizeCanvas(double ratioX, double ratioY) = 0;

  private:
    long m_handle;
};

class CLine final : public CGraphicObject {
  public:
    /// The pen may be null, here and below: the device context's own is used then.
    CLine(POINT begin, POINT end, std::shared_ptr<const CPen> pen)
        : m_begin(begin), m_end(end), m_pen(std::move(pen)) {}
    void Draw(HDC dc) const override;
    void ResizeCanvas(double ratioX, double ratioY) override;

  private:
    POINT m_begin;
    POINT m_end;
    std::shared_ptr<const CPen> m_pen;
};

/// An object that fills a rectangle; right and bottom lie just outside.
class CBoxed : public CGraphicObject {
  public:
    void ResizeCanvas(double ratioX, double ratioY) override;

  protected:
    explicit CBoxed(const PixelRect& rect) : m_rect(rect) {}
    const PixelRect& Box() const { return m_rect; }

  private:
    PixelRect m_rect;
};

/// Filled where there is a brush, else four lines.
class CRectangle final : public CBoxed {
  public:
    CRectangle(const PixelRect& rect, std::shared_ptr<const CPen> pen, std::shared_ptr<const CBrush> brush)
        : CBoxed(rect), m_pen(std::move(pen)), m_brush(std::move(brush)) {}
    void Draw(HDC dc) const override;

  private:
    std::shared_ptr<const CPen> m_pen;
    std::shared_ptr<const CBrush> m_brush;
};

/// Filled where there is a brush, else its outline.
class CEllipse final : public CBoxed, private ShapeSpans::Shape {
  public:
    CEllipse(const PixelRect& rect, std::shared_ptr<const CPen> pen, std::shared_ptr<const CBrush> brush)
        : CBoxed(rect), m_pen(std::move(pen)), m_brush(std::move(brush)) {}
    void Draw(HDC dc) const override;
    void ResizeCanvas(double ratioX, double ratioY) override;

  private:
    void DrawOn(HDC dc) const override;
    RECT Bounds() const;

    std::shared_ptr<const CPen> m_pen;
    std::shared_ptr<const CBrush> m_brush;

    enum class Spans { kUnknown, kFound, kNone };
    mutable Spans m_state = Spans::kUnknown;
    mutable ShapeSpans m_spans;  // where the ellipse is now; found when it is first drawn there
};

/// A text over the picture, or over its rectangle filled with the brush. Its size is the font's.
class CText final : public CBoxed {
  public:
    /// `format`: DT_* of DrawText, as far as 16 bits hold them. Font and brush may be null.
    CText(std::wstring text, const PixelRect& rect, std::uint16_t format,
          std::shared_ptr<const CFontAndColor> font, std::shared_ptr<const CBrush> brush)
        : CBoxed(rect),
          m_text(std::move(text)),
          m_format(format),
          m_font(std::move(font)),
          m_brush(std::move(brush)) {}
    void Draw(HDC dc) const override;

  private:
    std::wstring m_text;
    std::uint16_t m_format;
    std::shared_ptr<const CFontAndColor> m_font;
    std::shared_ptr<const CBrush> m_brush;
};

}  // namespace norix
