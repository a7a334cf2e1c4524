#include "render/present/GdiPresenter.h"

#include <new>
#include <utility>

#include "render/overlay/PictureDecoration.h"
#include "render/present/DibCanvas.h"
#include "util/Handles.h"

namespace norix {

// A memory bitmap with the device context it is selected into. Its pixels can be written without GDI, which
// the overlays make use of.
class GdiPresenter::Canvas {
  public:
    Canvas(HDC windowDc, PixelSize size, unsigned displayMode)
        : m_dc(CreateCompatibleDC(windowDc)),
          m_bitmap(CreateBits(m_dc.Get(), size, &m_bits)),
          m_selected(m_dc.Get(), m_bitmap.Get()),
          m_size(size),
          m_displayMode(displayMode) {}

    explicit operator bool() const { return m_dc && m_bitmap && m_selected; }
    HDC Dc() const { return m_dc.Get(); }
    PixelSize Size() const { return m_size; }
    /// The pixels, once GDI has done all that it was asked to do with them.
    codec::BgrScaler::Target Pixels() const {
        GdiFlush();
        const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(m_size.width) * 4;
        return {static_cast<std::uint8_t*>(m_bits) + (m_size.height - 1) * stride, -stride, m_size.width,
                m_size.height};
    }
    bool Fits(PixelSize size, unsigned displayMode) const {
        return m_size == size && m_displayMode == displayMode;
    }

  private:
    static HBITMAP CreateBits(HDC dc, PixelSize size, void** bits) {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = size.width;
        info.bmiHeader.biHeight = size.height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        return CreateDIBSection(dc, &info, DIB_RGB_COLORS, bits, nullptr, 0);
    }

    void* m_bits = nullptr;  // the bitmap's
    util::UniqueMemoryDc m_dc;
    util::UniqueBitmap m_bitmap;
    util::SelectGuard m_selected;
    PixelSize m_size;
    unsigned m_displayMode;
};

GdiPresenter::GdiPresenter(const PresenterConfig& config) : m_config(config) {}

GdiPresenter::~GdiPresenter() = default;

HRESULT GdiPresenter::Initialize(int width, int height) {
    // Nothing here depends on the picture's size except this buffer, which grows when it is needed.
    return width > 0 && height > 0 ? S_OK : E_INVALIDARG;
}

HRESULT GdiPresenter::Present(const Picture& picture) try {
    if (!picture.data || picture.size.IsEmpty()) return E_INVALIDARG;
    RECT client;
    if (!IsWindow(m_config.videoWindow) || !GetClientRect(m_config.videoWindow, &client)) return S_FALSE;
    const PixelSize window{static_cast<int>(client.right), static_cast<int>(client.bottom)};
    if (window.IsEmpty()) return S_FALSE;

    const util::WindowDc windowDc(m_config.videoWindow);
    if (!windowDc) return E_FAIL;
    Canvas* const back = PrepareBack(windowDc.Get(), window);
    if (!back) return E_OUTOFMEMORY;

    const PictureView::Settings settings = m_config.view->Current(picture.size);
    if (!DrawPicture(*back, picture, settings)) return E_FAIL;
    DrawOverPicture(back->Dc(), window, picture, settings, m_config.overlays.get(), m_config.videoWindow);
    BitBlt(windowDc.Get(), 0, 0, window.width, window.height, back->Dc(), 0, 0, SRCCOPY);

    const std::lock_guard lock(m_lock);
    m_front.swap(m_back);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

void GdiPresenter::DisplayChanged() {
    m_displayMode.fetch_add(1, std::memory_order_relaxed);
}

bool GdiPresenter::DrawOwn(HDC dc, const RECT& target) {
    const std::lock_guard lock(m_lock);
    if (!m_front) return false;
    const PixelSize size = m_front->Size();

    const DibCanvas copy(size);
    return copy && BitBlt(copy.Dc(), 0, 0, size.width, size.height, m_front->Dc(), 0, 0, SRCCOPY) &&
           copy.CopyTo(dc, target);
}

GdiPresenter::Canvas* GdiPresenter::PrepareBack(HDC windowDc, PixelSize window) {
    const unsigned displayMode = m_displayMode.load(std::memory_order_relaxed);
    if (m_back && m_back->Fits(window, displayMode)) return m_back.get();
    m_back.reset();  // first, so that a large window is never paid for three times
    auto made = std::make_unique<Canvas>(windowDc, window, displayMode);
    if (*made) m_back = std::move(made);
    return m_back.get();
}

bool GdiPresenter::DrawPicture(const Canvas& canvas, const Picture& picture,
                               const PictureView::Settings& settings) {
    const PixelRect& shown = settings.source;
    const codec::BgrScaler::Source source = {
        picture.data + static_cast<std::ptrdiff_t>(shown.top) * picture.stride +
            static_cast<std::ptrdiff_t>(shown.left) * codec::BytesPerPixel(codec::PixelFormat::kBgr24),
        picture.stride, shown.Width(), shown.Height()};
    const PixelSize turned = RotatedSize({source.width, source.height}, settings.rotation);
    const bool muchSmaller =
        canvas.Size().width * 2 < turned.width || canvas.Size().height * 2 < turned.height;
    const auto filter = m_config.smoothScaling && muchSmaller ? codec::BgrScaler::Filter::kBilinear
                                                              : codec::BgrScaler::Filter::kNearest;
    return m_scaler.Scale(source, canvas.Pixels(), settings.rotation, filter) == codec::Status::kOk;
}

}  // namespace norix
