#pragma once

#include <array>
#include <mutex>
#include <optional>

#include "render/present/DisplayFrame.h"

namespace norix {

/// The picture that was shown last, for the window's repaints: whichever presenter showed it, and also while
/// none can. One per decoder, shared by the display thread, which keeps, and the window thread, which
/// borrows.
class KeptPicture {
  public:
    /// Swaps buffers with the frame, which gets that of the picture before, or none. `drawn`: the regions
    /// that were drawn over it. Display thread.
    void Keep(DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn);
    /// The same with a copy, where the frame's buffer is wanted elsewhere. Without memory nothing is kept.
    void KeepCopy(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn);

    /// Nothing when there is none, or somebody has it. `used` says which regions were drawn. Any thread.
    std::optional<DisplayFrame> Borrow();
    /// Gives it back, unless there is a newer one by now.
    void Return(DisplayFrame frame);

  private:
    static DisplayFrame Describe(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn);

    std::mutex m_lock;
    DisplayFrame m_frame;  // guarded by m_lock; without a buffer where there is no picture
};

}  // namespace norix
