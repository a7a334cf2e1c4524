#pragma once

#include <memory>

#include "render/overlay/OverlayLayer.h"
#include "render/present/DibCanvas.h"
#include "render/present/PicturePainter.h"
#include "render/present/Presenter.h"

namespace norix {

/// Presents pictures with GDI: stretched and turned into a memory bitmap of the window's size, painted over
/// there and copied to the window in one piece, so that overlays never flicker. It asks for 24-bit BGR and
/// takes YUY2 as well.
class GdiPresenter final : public Presenter {
  public:
    explicit GdiPresenter(const PresenterConfig& config);

    codec::PixelFormat Format() const override { return codec::PixelFormat::kBgr24; }
    HRESULT Initialize(int width, int height) override;
    HRESULT Present(const Picture& picture) override;
    void DisplayChanged() override {}
    bool IsSeen() const override;

  private:
    bool PrepareCanvas(PixelSize window);

    const PresenterConfig m_config;

    // Display thread only.
    std::unique_ptr<DibCanvas> m_canvas;
    PicturePainter m_painter;
    OverlayLayer m_objects;
};

}  // namespace norix
