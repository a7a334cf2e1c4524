#pragma once

// A presenter puts decoded pictures into the video window.
//
//   call            thread                                  effect
//   --------------  --------------------------------------  ---------------------------------------------
//   Format          any                                     the pixel format Present() wants; constant
//   Initialize      decode thread, display thread parked    (re)builds everything for a picture size
//   Present         display thread                          shows a picture with all that lies over it
//   DisplayChanged  any                                     new display mode: rebuild at the next picture
//   IsSeen          any                                     whether pictures would be seen
//   HasFailed       any                                     pictures had better go to the Substitute
//   destructor      the last owner's                        releases everything
//
// The loops call Initialize and Present by the names of PictureSink. None of them throws.
// There is no call for a new window size or position: every Present() reads the window.
// Source rectangle, rotation, caption and border are set in PictureView, which the presenter shares.
//
// The video window needs WS_CLIPCHILDREN and WS_CLIPSIBLINGS, or pictures cover its child windows.

#include <windows.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "render/present/Geometry.h"
#include "render/present/PictureSink.h"
#include "render/present/PictureView.h"

namespace norix {

/// The numbers are those of the settings and the log.
enum class DisplayMode : std::uint32_t { Gdi = 0, DirectDraw = 1 };

/// One decoded picture, top row first. The presenter reads it during Present() only.
struct Picture {
    const std::uint8_t* data = nullptr;
    PixelSize size;
    int stride = 0;  // bytes from one row to the next; `data` has stride * height of them
    codec::PixelFormat format = codec::PixelFormat::kBgr24;

    /// Motion or analytics regions in picture coordinates. The caller decides which are drawn: those in use,
    /// while region display and that region are switched on.
    struct Region {
        PixelRect rect;
        bool drawn = false;
        bool alarm = false;
        std::uint8_t level = 0;  // of motion, in percent
    };
    std::array<Region, 3> regions;
};

/// A view of the frame's picture, with the regions that are to be drawn.
Picture PictureOf(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn);

/// Draws the host's graphic objects over a picture. Called on the display thread inside Present(), in window
/// coordinates, never with a presenter's lock held. It must not call the presenter, and may throw: that is
/// caught. Shared by the control and the presenters that call it.
class OverlayPainter {
  public:
    virtual ~OverlayPainter() = default;
    virtual void PaintOverlays(HDC dc) = 0;
    /// False while there is nothing to paint, so that no device context need be had for it.
    virtual bool HasOverlays() const { return true; }
    /// Another number after each change of what is painted; nothing where that can't be told.
    virtual std::optional<unsigned> Version() const { return std::nullopt; }
};

/// Constant for the life of a presenter.
struct PresenterConfig {
    HWND videoWindow = nullptr;         // pictures are shown here
    HWND notifyWindow = nullptr;        // the control's window: its monitor decides the DirectDraw device
    std::shared_ptr<PictureView> view;  // required
    std::shared_ptr<OverlayPainter> overlays;  // may be null
    std::uint32_t decoderKind = 4;             // 1 MPEG-4, 2 MJPEG, 4 H.264, 8 H.265
    bool waitForVerticalBlank = false;
    bool smoothScaling = true;  // of pictures shown at less than half their size; GDI presenter only
};

/// What the loops see of it is the PictureSink.
class Presenter : public PictureSink {
  public:
    Presenter(const Presenter&) = delete;
    Presenter& operator=(const Presenter&) = delete;

    bool Prepare(PixelSize size) final { return SUCCEEDED(Initialize(size.width, size.height)); }
    void Show(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) final;

    /// 0 on success. After a failure nothing is shown until a later call, or a rebuild inside Present(),
    /// succeeds.
    virtual HRESULT Initialize(int width, int height) = 0;

    /// 0 when the picture was shown; S_FALSE when it was skipped (window gone or empty, surfaces just
    /// rebuilt); a failure code otherwise. No result asks the caller for anything: the next picture tries
    /// again.
    virtual HRESULT Present(const Picture& picture) = 0;

  protected:
    Presenter() = default;
};

std::unique_ptr<Presenter> CreatePresenter(DisplayMode mode, const PresenterConfig& config);

}  // namespace norix
