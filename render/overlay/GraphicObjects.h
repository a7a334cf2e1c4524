#pragma once

#include <windows.h>

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "render/overlay/GraphicObject.h"
#include "render/present/Presenter.h"

namespace norix {

/// The host's graphic objects over the pictures of one decoder, oldest first and so lowest, and what they are
/// drawn with. Shared by the decoder and its presenters. Any thread.
///
/// Objects keep their pens, brushes and fonts alive: one that is removed is drawn with no more, but by those
/// that have it. Handles that name nothing, or something of another kind, count as none.
class GraphicObjects final : public OverlayPainter {
  public:
    static constexpr std::size_t kMostShapes = 1024;
    static constexpr std::size_t kMostTools = 256;
    /// Characters that are drawn of a text.
    static constexpr std::size_t kLongestText = 8192;

    /// The system's handle of what was made; 0 when it was not to be had or there are too many.
    long CreatePen(int style, int width, COLORREF colour);
    long CreateBrush(COLORREF colour);
    long CreateFont(long tenthsOfPoint, const std::wstring& face, COLORREF colour, HWND window);

    /// The object's handle, or E_OUTOFMEMORY, also when there are too many. Window coordinates.
    long DrawLine(POINT begin, POINT end, long pen);
    long DrawRectangle(const PixelRect& rect, long pen, long brush);
    long DrawEllipse(const PixelRect& rect, long pen, long brush);
    long DrawText(const std::wstring& text, const PixelRect& rect, std::uint16_t format, long font,
                  long brush);

    /// 0, or E_FAIL when nothing has that handle.
    long Remove(long handle);
    void RemoveAll();

    /// The window's size has changed: ResizeAllGraphicObjs.
    void Resize(PixelSize from, PixelSize to);

    void PaintOverlays(HDC dc) override;
    bool HasOverlays() const override { return m_hasShapes.load(std::memory_order_relaxed); }
    std::optional<unsigned> Version() const override { return m_version.load(); }

  private:
    template <class Tool>
    long Keep(std::shared_ptr<Tool> tool);
    template <class Tool>
    std::shared_ptr<const Tool> Find(long handle) const;
    template <class Make>
    long Add(Make&& make);
    void ShapesChanged();

    std::mutex m_lock;
    // guarded by m_lock
    std::list<std::unique_ptr<CGraphicObject>> m_shapes;
    std::list<std::shared_ptr<CGdiTool>> m_tools;

    // Looked at without the lock, written with it:
    std::atomic<bool> m_hasShapes{false};
    std::atomic<unsigned> m_version{0};  // of the shapes
};

}  // namespace norix
