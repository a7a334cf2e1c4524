#pragma once

#include <cstddef>
#include <cstdint>

#include "media/ControlWindow.h"
#include "media/SnapshotRequests.h"
#include "render/present/DisplayFrame.h"

namespace norix {

/// Serves the host's requests for pictures. Each call is made once per request, by the thread that holds a
/// suitable picture, which is valid during the call only. Must not throw. Shared by the control and the
/// threads that call it.
class SnapshotTaker {
  public:
    virtual ~SnapshotTaker() = default;

    /// Decode thread: a Motion JPEG frame, to be saved as it is.
    virtual void SaveJpeg(const SnapshotRequests::File& file, const std::uint8_t* jpeg, std::size_t size) = 0;

    /// Display thread: a decoded picture, to be encoded and saved.
    virtual void SavePicture(const SnapshotRequests::File& file, const DisplayFrame& frame) = 0;

    /// Display thread: a decoded picture, to be sent to the control's window in the format asked for.
    virtual void SendPicture(std::int32_t format, const DisplayFrame& frame, ControlWindow& window) = 0;
};

}  // namespace norix
