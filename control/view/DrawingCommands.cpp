#include "control/view/DrawingCommands.h"

#include <algorithm>
#include <limits>

#include "control/view/ViewCommands.h"
#include "render/decode/Decoder.h"
#include "render/overlay/GraphicObjects.h"

namespace norix {
namespace {

COLORREF ToColorRef(DrawingCommands::Colour colour) {
    return RGB(colour.red & 0xFF, colour.green & 0xFF, colour.blue & 0xFF);
}

// The sum, or the nearest number there is: far beyond any window either way.
long End(long begin, long length) {
    constexpr std::int64_t kLeast = std::numeric_limits<long>::min();
    constexpr std::int64_t kMost = std::numeric_limits<long>::max();
    return static_cast<long>(std::clamp(std::int64_t{begin} + length, kLeast, kMost));
}

}  // namespace

std::shared_ptr<GraphicObjects> DrawingCommands::Objects() const {
    const auto decoder = m_host.Decoder();
    return decoder ? decoder->Overlays() : nullptr;
}

long DrawingCommands::Shown(long result) const {
    if (result >= 0) m_host.OverlaysChanged();
    return result;
}

template <class Draw>
long DrawingCommands::InBox(const ViewBox& box, Draw&& draw) const {
    const auto objects = Objects();
    if (!objects) return E_POINTER;
    const auto begin = m_view.ToWindow(box.corner);
    const auto end =
        m_view.ToWindow(ViewPoint{End(box.corner.x, box.size.width), End(box.corner.y, box.size.height)});
    if (!begin || !end) return E_FAIL;
    // Turned, what was the upper left corner is another one.
    const auto [left, right] = std::minmax(begin->x, end->x);
    const auto [top, bottom] = std::minmax(begin->y, end->y);
    return Shown(draw(*objects, PixelRect{static_cast<int>(left), static_cast<int>(top),
                                          static_cast<int>(right), static_cast<int>(bottom)}));
}

long DrawingCommands::CreatePen(Colour colour, short width, short style) {
    const auto objects = Objects();
    return objects ? objects->CreatePen(style, width, ToColorRef(colour)) : E_POINTER;
}

long DrawingCommands::CreateBrush(Colour colour) {
    const auto objects = Objects();
    return objects ? objects->CreateBrush(ToColorRef(colour)) : E_POINTER;
}

long DrawingCommands::CreateFont(Colour colour, long tenthsOfPoint, const std::wstring& face) {
    const auto objects = Objects();
    return objects ? objects->CreateFont(tenthsOfPoint, face, ToColorRef(colour), m_host.Window())
                   : E_POINTER;
}

long DrawingCommands::DrawLine(ViewPoint begin, ViewPoint end, long pen) {
    const auto objects = Objects();
    if (!objects) return E_POINTER;
    const auto from = m_view.ToWindow(begin);
    const auto to = m_view.ToWindow(end);
    if (!from || !to) return E_FAIL;
    return Shown(objects->DrawLine({from->x, from->y}, {to->x, to->y}, pen));
}

long DrawingCommands::DrawRectangle(const ViewBox& box, long pen, long brush) {
    return InBox(box, [&](GraphicObjects& objects, const PixelRect& rect) {
        return objects.DrawRectangle(rect, pen, brush);
    });
}

long DrawingCommands::DrawEllipse(const ViewBox& box, long pen, long brush) {
    return InBox(box, [&](GraphicObjects& objects, const PixelRect& rect) {
        return objects.DrawEllipse(rect, pen, brush);
    });
}

long DrawingCommands::DrawText(const std::wstring& text, const ViewBox& box, short format, long font,
                               long brush) {
    return InBox(box, [&](GraphicObjects& objects, const PixelRect& rect) {
        return objects.DrawText(text, rect, static_cast<std::uint16_t>(format), font, brush);
    });
}

long DrawingCommands::Remove(long handle) {
    const auto objects = Objects();
    return objects ? Shown(objects->Remove(handle)) : E_POINTER;
}

long DrawingCommands::RemoveAll() {
    const auto objects = Objects();
    if (!objects) return E_POINTER;
    objects->RemoveAll();
    return Shown(S_OK);
}

void DrawingCommands::Resize(PixelSize from, PixelSize to) {
    if (const auto objects = Objects()) objects->Resize(from, to);
}

}  // namespace norix
