#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "codec/BgrScaler.h"
#include "render/present/Presenter.h"

namespace norix {

/// Presents 24-bit BGR pictures with GDI: stretched and turned into a memory bitmap of the window's size,
/// painted over there and copied to the window in one piece, so that overlays never flicker.
///
/// There are two such bitmaps. The display thread draws the next picture into one while the other holds the
/// last one for DrawLast(); they change places under the lock, and no drawing is done with it held.
class GdiPresenter final : public Presenter {
  public:
    explicit GdiPresenter(const PresenterConfig& config);
    ~GdiPresenter() override;

    codec::PixelFormat Format() const override { return codec::PixelFormat::kBgr24; }
    HRESULT Initialize(int width, int height) override;
    HRESULT Present(const Picture& picture) override;
    void DisplayChanged() override;

  private:
    bool DrawOwn(HDC dc, const RECT& target) override;

    class Canvas;

    Canvas* PrepareBack(HDC windowDc, PixelSize window);
    bool DrawPicture(const Canvas& canvas, const Picture& picture, const PictureView::Settings& settings);

    const PresenterConfig m_config;

    // Any thread: counts the display modes seen, so that bitmaps made for an older one are made anew.
    std::atomic<unsigned> m_displayMode{0};

    // Display thread only.
    std::unique_ptr<Canvas> m_back;
    codec::BgrScaler m_scaler;

    std::mutex m_lock;
    std::unique_ptr<Canvas> m_front;  // guarded by m_lock
};

}  // namespace norix
