#include "render/present/Repaint.h"

#include <new>
#include <optional>
#include <utility>

#include "render/overlay/PictureDecoration.h"
#include "render/present/DibCanvas.h"
#include "render/present/PicturePainter.h"

namespace norix {
namespace {

// Lets go of the picture however the drawing ends.
class Borrowed {
  public:
    explicit Borrowed(KeptPicture& kept) : m_kept(kept), m_frame(kept.Borrow()) {}
    ~Borrowed() {
        if (m_frame) m_kept.Return(std::move(*m_frame));
    }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;

    const DisplayFrame* Frame() const { return m_frame ? &*m_frame : nullptr; }

  private:
    KeptPicture& m_kept;
    std::optional<DisplayFrame> m_frame;
};

}  // namespace

bool DrawKept(KeptPicture& kept, const PictureView& view, OverlayPainter* overlays, HWND window, bool smooth,
              HDC dc, const RECT& target) try {
    RECT client;
    if (!GetClientRect(window, &client) || IsRectEmpty(&client)) return false;
    const Borrowed borrowed(kept);
    if (!borrowed.Frame()) return false;
    const PixelSize size{static_cast<int>(client.right), static_cast<int>(client.bottom)};
    const DibCanvas canvas(size);
    const Picture picture = PictureOf(*borrowed.Frame(), borrowed.Frame()->used);
    const PictureView::Settings settings = view.Peek(picture.size);
    if (!canvas || !PicturePainter().Paint(picture, settings, canvas.Pixels(), smooth)) return false;
    DrawRegions(canvas.Dc(), size, picture, settings, window);
    DrawObjects(canvas.Dc(), overlays, window);
    DrawCaptionAndBorder(canvas.Dc(), size, settings);
    return canvas.CopyTo(dc, target);
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace norix
