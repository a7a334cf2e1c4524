#include "render/overlay/GraphicObject.h"

#include <algorithm>
#include <optional>

#include "render/overlay/CanvasScale.h"
#include "render/overlay/GraphicHandles.h"
#include "util/Log.h"

namespace norix {
namespace {

// GDI computes with 27 bits and a sign; what lies beyond is out of sight anyway.
constexpr int kFarthest = (1 << 26) - 1;

int Drawable(int coordinate) {
    return std::clamp(coordinate, -kFarthest, kFarthest);
}

RECT Drawable(const PixelRect& rect) {
    return {Drawable(rect.left), Drawable(rect.top), Drawable(rect.right), Drawable(rect.bottom)};
}

// Selects a tool for a scope, if there is one.
class Using {
  public:
    Using(HDC dc, const CGdiTool* tool) {
        if (tool) m_selected.emplace(dc, tool->Handle());
    }

  private:
    std::optional<util::SelectGuard> m_selected;
};

class BackgroundMode {
  public:
    BackgroundMode(HDC dc, int mode) : m_dc(dc), m_previous(SetBkMode(dc, mode)) {}
    ~BackgroundMode() { SetBkMode(m_dc, m_previous); }
    BackgroundMode(const BackgroundMode&) = delete;
    BackgroundMode& operator=(const BackgroundMode&) = delete;

  private:
    HDC m_dc;
    int m_previous;
};

}  // namespace

CGraphicObject::CGraphicObject() : m_handle(GraphicHandles::OfProcess().Register(this)) {}

CGraphicObject::~CGraphicObject() {
    GraphicHandles::OfProcess().Unregister(m_handle);
}

void CLine::Draw(HDC dc) const {
    const BackgroundMode mode(dc, TRANSPARENT);
    const Using pen(dc, m_pen.get());
    MoveToEx(dc, Drawable(m_begin.x), Drawable(m_begin.y), nullptr);
    LineTo(dc, Drawable(m_end.x), Drawable(m_end.y));
}

void CLine::ResizeCanvas(double ratioX, double ratioY) {
    const auto log = [this](const char* moment) {
        NORIX_LOG("CLine::ResizeCanvas", 0, "CLine::ResizeCanvas(), point=(%d,%d)-(%d,%d) %s",
                  static_cast<int>(m_begin.x), static_cast<int>(m_begin.y), static_cast<int>(m_end.x),
                  static_cast<int>(m_end.y), moment);
    };
    log("begin");
    for (POINT* const point : {&m_begin, &m_end})
        *point = {OnStretchedCanvas(point->x, ratioX), OnStretchedCanvas(point->y, ratioY)};
    log("end");
}

void CBoxed::ResizeCanvas(double ratioX, double ratioY) {
    m_rect = {OnStretchedCanvas(m_rect.left, ratioX), OnStretchedCanvas(m_rect.top, ratioY),
              OnStretchedCanvas(m_rect.right, ratioX), OnStretchedCanvas(m_rect.bottom, ratioY)};
}

void CRectangle::Draw(HDC dc) const {
    const BackgroundMode mode(dc, TRANSPARENT);
    const Using pen(dc, m_pen.get());
    const RECT box = Drawable(Box());
    if (m_brush) {
        const Using brush(dc, m_brush.get());
        Rectangle(dc, box.left, box.top, box.right, box.bottom);
        return;
    }
    MoveToEx(dc, box.left, box.top, nullptr);
    LineTo(dc, box.right, box.top);
    LineTo(dc, box.right, box.bottom);
    LineTo(dc, box.left, box.bottom);
    LineTo(dc, box.left, box.top);
}

void CEllipse::Draw(HDC dc) const {
    if (m_state == Spans::kUnknown) m_state = m_spans.Find(Bounds(), *this) ? Spans::kFound : Spans::kNone;
    if (m_state == Spans::kFound) {
        m_spans.Draw(dc);
    } else {
        DrawOn(dc);
    }
}

void CEllipse::ResizeCanvas(double ratioX, double ratioY) {
    CBoxed::ResizeCanvas(ratioX, ratioY);
    m_state = Spans::kUnknown;
}

// The box, whichever way round it is given, and as much as a pen reaches beyond it.
RECT CEllipse::Bounds() const {
    LOGPEN pen = {};
    if (m_pen) GetObjectW(m_pen->Handle(), sizeof(pen), &pen);
    const int reach = static_cast<int>(pen.lopnWidth.x) / 2 + 2;
    const RECT box = Drawable(Box());
    return {std::min(box.left, box.right) - reach, std::min(box.top, box.bottom) - reach,
            std::max(box.left, box.right) + reach, std::max(box.top, box.bottom) + reach};
}

void CEllipse::DrawOn(HDC dc) const {
    const BackgroundMode mode(dc, m_brush ? OPAQUE : TRANSPARENT);
    const Using pen(dc, m_pen.get());
    const RECT box = Drawable(Box());
    if (m_brush) {
        const Using brush(dc, m_brush.get());
        Ellipse(dc, box.left, box.top, box.right, box.bottom);
        return;
    }
    // From and to the same direction: all round.
    Arc(dc, box.left, box.top, box.right, box.bottom, 0, 0, 0, 0);
}

void CText::Draw(HDC dc) const {
    RECT box = Drawable(Box());
    if (m_brush) FillRect(dc, &box, static_cast<HBRUSH>(m_brush->Handle()));
    const BackgroundMode mode(dc, TRANSPARENT);
    const Using font(dc, m_font.get());
    const COLORREF previous = SetTextColor(dc, m_font ? m_font->Colour() : RGB(0, 0, 0));
    DrawTextW(dc, m_text.c_str(), static_cast<int>(m_text.size()), &box, m_format);
    SetTextColor(dc, previous);
}

}  // namespace norix
