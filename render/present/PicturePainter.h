#pragma once

#include <vector>

#include "codec/BgrScaler.h"
#include "render/present/PictureView.h"
#include "render/present/Presenter.h"

namespace norix {

/// Puts decoded pictures into a window's pixels: the part that the view shows, turned and stretched. Pictures
/// of either format. Allocates when something changes only. One thread at a time.
class PicturePainter {
  public:
    /// `smooth`: pixels are mixed where the picture is shown at less than half its size. False for pictures
    /// that can't be. May throw std::bad_alloc.
    bool Paint(const Picture& picture, const PictureView::Settings& settings,
               const codec::BgrScaler::Target& target, bool smooth);

  private:
    codec::BgrScaler m_scaler;
    std::vector<std::uint8_t> m_bgr;  // a YUY2 picture after conversion
};

}  // namespace norix
