#include "render/overlay/GraphicObjects.h"

#include <algorithm>
#include <new>
#include <utility>

#include "util/Log.h"
#include "util/ScreenDpi.h"

namespace norix {
namespace {

long NumberOf(const CGdiTool& tool) {
    return static_cast<long>(reinterpret_cast<LONG_PTR>(tool.Handle()));
}

}  // namespace

template <class Tool>
long GraphicObjects::Keep(std::shared_ptr<Tool> tool) {
    if (!tool->Handle()) return 0;
    const long number = NumberOf(*tool);
    const std::lock_guard lock(m_lock);
    if (m_tools.size() >= kMostTools) return 0;
    m_tools.push_back(std::move(tool));
    return number;
}

long GraphicObjects::CreatePen(int style, int width, COLORREF colour) try {
    return Keep(std::make_shared<CPen>(style, width, colour));
} catch (const std::bad_alloc&) {
    return 0;
}

long GraphicObjects::CreateBrush(COLORREF colour) try {
    return Keep(std::make_shared<CBrush>(colour));
} catch (const std::bad_alloc&) {
    return 0;
}

long GraphicObjects::CreateFont(long tenthsOfPoint, const std::wstring& face, COLORREF colour,
                                HWND window) try {
    return Keep(std::make_shared<CFontAndColor>(
        MakePointFont(tenthsOfPoint, face.c_str(), util::DpiOf(window)), colour));
} catch (const std::bad_alloc&) {
    return 0;
}

/// With m_lock held.
template <class Tool>
std::shared_ptr<const Tool> GraphicObjects::Find(long handle) const {
    for (const auto& tool : m_tools) {
        if (NumberOf(*tool) != handle) continue;
        if (auto found = std::dynamic_pointer_cast<const Tool>(tool)) return found;
    }
    return nullptr;
}

/// With m_lock held.
void GraphicObjects::ShapesChanged() {
    m_hasShapes.store(!m_shapes.empty(), std::memory_order_relaxed);
    ++m_version;
}

template <class Make>
long GraphicObjects::Add(Make&& make) try {
    const std::lock_guard lock(m_lock);
    if (m_shapes.size() >= kMostShapes) return E_OUTOFMEMORY;
    m_shapes.push_back(make());
    ShapesChanged();
    return m_shapes.back()->GetHandle();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

long GraphicObjects::DrawLine(POINT begin, POINT end, long pen) {
    return Add([&] { return std::make_unique<CLine>(begin, end, Find<CPen>(pen)); });
}

long GraphicObjects::DrawRectangle(const PixelRect& rect, long pen, long brush) {
    return Add([&] { return std::make_unique<CRectangle>(rect, Find<CPen>(pen), Find<CBrush>(brush)); });
}

long GraphicObjects::DrawEllipse(const PixelRect& rect, long pen, long brush) {
    return Add([&] { return std::make_unique<CEllipse>(rect, Find<CPen>(pen), Find<CBrush>(brush)); });
}

long GraphicObjects::DrawText(const std::wstring& text, const PixelRect& rect, std::uint16_t format,
                              long font, long brush) {
    return Add([&] {
        return std::make_unique<CText>(text.substr(0, kLongestText), rect, format, Find<CFontAndColor>(font),
                                       Find<CBrush>(brush));
    });
}

long GraphicObjects::Remove(long handle) {
    const std::lock_guard lock(m_lock);
    const auto shape = std::find_if(m_shapes.begin(), m_shapes.end(),
                                    [&](const auto& candidate) { return candidate->GetHandle() == handle; });
    if (shape != m_shapes.end()) {
        m_shapes.erase(shape);
        ShapesChanged();
        return S_OK;
    }
    const auto tool = std::find_if(m_tools.begin(), m_tools.end(),
                                   [&](const auto& candidate) { return NumberOf(*candidate) == handle; });
    if (tool == m_tools.end()) return E_FAIL;
    m_tools.erase(tool);
    return S_OK;
}

void GraphicObjects::RemoveAll() {
    const std::lock_guard lock(m_lock);
    m_shapes.clear();
    m_tools.clear();
    ShapesChanged();
}

void GraphicObjects::Resize(PixelSize from, PixelSize to) {
    const std::lock_guard lock(m_lock);
    if (m_shapes.empty() || from.width == 0 || from.height == 0) return;
    const double ratioX = static_cast<double>(to.width) / from.width;
    const double ratioY = static_cast<double>(to.height) / from.height;
    NORIX_LOG("CDecoder::ResizeAllGraphicObjs", 0,
              "CDecoder::ResizeAllGraphicObjs(old=(%d,%d), new=(%d,%d)) ratio=(%f,%f)", from.width,
              from.height, to.width, to.height, ratioX, ratioY);
    for (const auto& shape : m_shapes)
        shape->ResizeCanvas(ratioX, ratioY);
    ShapesChanged();
}

void GraphicObjects::PaintOverlays(HDC dc) {
    const std::lock_guard lock(m_lock);
    for (const auto& shape : m_shapes)
        shape->Draw(dc);
}

}  // namespace norix
