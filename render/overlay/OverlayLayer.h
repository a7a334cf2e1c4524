#pragma once

#include <windows.h>

#include <memory>

#include "render/overlay/PaintedPixels.h"
#include "render/present/Presenter.h"

namespace norix {

/// Spares a presenter the painting of graphic objects that stay as they are: after a few pictures they are
/// painted once into memory, and only their pixels are put over the following ones. Objects that change with
/// each picture go on being painted. Display thread.
class OverlayLayer {
  public:
    /// The painter may be null.
    explicit OverlayLayer(std::shared_ptr<OverlayPainter> painter) : m_painter(std::move(painter)) {}

    /// Once per picture. True when Compose() does what the painter would do in a window of this size.
    bool Follow(PixelSize window);
    /// The target has that size.
    void Compose(const codec::BgrScaler::Target& target) const { m_pixels.Compose(target); }

  private:
    bool Build() noexcept;

    enum class State { kWaiting, kBuilt, kRefused };

    const std::shared_ptr<OverlayPainter> m_painter;
    PixelSize m_window;
    unsigned m_version = 0;  // of what the painter paints
    int m_unchanged = 0;     // pictures since either of these has changed
    State m_state = State::kWaiting;
    PaintedPixels m_pixels;
};

}  // namespace norix
