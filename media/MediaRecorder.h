#pragma once

#include <cstddef>
#include <cstdint>

namespace norix {

/// The media types under which frames are recorded.
enum class RecordMedia : std::uint8_t {
    Audio = 0,
    VideoMpeg4OrMjpeg = 96,
    VideoH264 = 97,
    VideoH265 = 98,
};

/// Where the insert operations offer every received frame before any drop rule. Called on the receiving
/// threads (video and audio may be two), never with a lock of the caller held. The bytes are the frame as it
/// came, with the camera's header where it has one, and are valid during the call only. Must not throw.
/// Shared by the control and the parameter blocks that feed it.
class MediaRecorder {
  public:
    virtual ~MediaRecorder() = default;

    /// Whether a recording is wanted: audio is offered only then. Video is always offered, so that a recorder
    /// can close its file when the wish ends.
    virtual bool IsRecordingRequested() const = 0;

    /// `pts`: the frame's timestamp in milliseconds, by which it is placed in the recording.
    virtual void RecMedia(RecordMedia type, const std::uint8_t* data, std::size_t size,
                          std::uint32_t pts) = 0;
};

}  // namespace norix
