#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "media/CtrlParam.h"
#include "media/SnapshotRequests.h"
#include "render/present/DisplayFrame.h"

namespace norix {

enum class Snapshot { kFile, kData };

/// What is wanted of one picture.
struct SnapshotOrder {
    std::optional<SnapshotRequests::File> file;
    std::optional<std::int32_t> format;  // of the data for the control's window
};

/// Serves the host's requests for pictures. Each call is made once per request, by the thread that holds a
/// suitable picture, and returns without waiting for anything. Must not throw. Shared by the decoder and the
/// threads that call it.
class SnapshotTaker {
  public:
    virtual ~SnapshotTaker() = default;

    /// False while too many pictures wait to be dealt with in that way: the request stays for a later
    /// picture.
    virtual bool HasRoom(Snapshot kind) = 0;

    /// Decode thread: a Motion JPEG frame, valid during the call only, to be saved as it is.
    virtual void SaveJpeg(SnapshotRequests::File file, const std::uint8_t* jpeg, std::size_t size) = 0;

    /// Display thread: a decoded picture that has been shown. The frame's buffer may be taken and another one
    /// of the same size left in its place.
    virtual void TakePicture(SnapshotOrder order, DisplayFrame& frame,
                             const std::shared_ptr<CCtrlParam>& param) = 0;
};

}  // namespace norix
