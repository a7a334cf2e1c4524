#pragma once

#include <array>
#include <memory>

#include "codec/Picture.h"
#include "render/present/DisplayFrame.h"
#include "render/present/Geometry.h"

namespace norix {

/// Where the two loops of a decoder deliver pictures: a Presenter without the system's types, so that the
/// loops run on any host.
class PictureSink {
  public:
    virtual ~PictureSink() = default;

    /// The format in which pictures are wanted; constant. Any thread.
    virtual codec::PixelFormat Format() const = 0;

    /// Decode thread, with the display thread held: from now on pictures have this size. False when they
    /// cannot be shown yet.
    virtual bool Prepare(PixelSize size) = 0;

    /// Display thread. `drawn` says which of the frame's regions are to be drawn over it.
    virtual void Show(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) = 0;

    /// Display thread: the display mode has changed since the last picture.
    virtual void DisplayChanged() = 0;

    /// Whether pictures would be seen at all. Any thread.
    virtual bool IsSeen() const { return true; }

    /// That it can't show pictures any more, which it may find out with any of them. Any thread.
    virtual bool HasFailed() const { return false; }
    /// Who shows them then; null where nobody could do better. Decode thread.
    virtual std::shared_ptr<PictureSink> Substitute() { return nullptr; }
};

}  // namespace norix
