#include "render/present/GdiPresenter.h"

#include <new>

#include "render/overlay/PictureDecoration.h"
#include "render/present/Visibility.h"
#include "util/Handles.h"

namespace norix {

GdiPresenter::GdiPresenter(const PresenterConfig& config) : m_config(config), m_objects(config.overlays) {}

// Nothing here depends on the picture's size except buffers, which grow when it is needed.
HRESULT GdiPresenter::Initialize(int width, int height) {
    return width > 0 && height > 0 ? S_OK : E_INVALIDARG;
}

bool GdiPresenter::IsSeen() const {
    return IsWindowSeen(m_config.videoWindow);
}

HRESULT GdiPresenter::Present(const Picture& picture) try {
    if (!picture.data || picture.size.IsEmpty()) return E_INVALIDARG;
    RECT client;
    if (!IsSeen() || !GetClientRect(m_config.videoWindow, &client)) return S_FALSE;
    const PixelSize window{static_cast<int>(client.right), static_cast<int>(client.bottom)};
    if (window.IsEmpty()) return S_FALSE;

    const util::WindowDc windowDc(m_config.videoWindow);
    if (!windowDc) return E_FAIL;
    if (!PrepareCanvas(window)) return E_OUTOFMEMORY;
    const HDC dc = m_canvas->Dc();
    const PictureView::Settings settings = m_config.view->Current(picture.size);
    if (!m_painter.Paint(picture, settings, m_canvas->Pixels(), m_config.smoothScaling)) return E_FAIL;
    DrawRegions(dc, window, picture, settings, m_config.videoWindow);
    if (m_objects.Follow(window)) {
        m_objects.Compose(m_canvas->Pixels());
    } else {
        DrawObjects(dc, m_config.overlays.get(), m_config.videoWindow);
    }
    DrawCaptionAndBorder(dc, window, settings);
    BitBlt(windowDc.Get(), 0, 0, window.width, window.height, dc, 0, 0, SRCCOPY);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

bool GdiPresenter::PrepareCanvas(PixelSize window) {
    if (m_canvas && m_canvas->Size() == window) return true;
    m_canvas.reset();  // first, so that a large window is never paid for twice
    auto made = std::make_unique<DibCanvas>(window);
    if (*made) m_canvas = std::move(made);
    return m_canvas != nullptr;
}

}  // namespace norix
