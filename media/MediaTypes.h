#pragma once

// The numbers by which a connection names its codecs, media, way and status. They are those of the type
// library, but for H.265: its enumeration stays as hosts know it, and 8 goes on where it ends.

#include <cstdint>

namespace norix {

enum class VideoCodec : std::int32_t { None = 0, Mpeg4 = 1, Mjpeg = 2, H264 = 4, H265 = 8 };
enum class AudioCodec : std::int32_t { None = 0, Pcmu = 1, Aac = 2, Pcm = 3 };
enum class MediaType : std::int32_t { AudioVideo = 0, Video = 1, Audio = 2 };

/// How a stream comes.
enum EConnectProtocol : short {
    ecpNone = 0,
    ecpUDP = 1,
    ecpTCP = 2,
    ecpHTTP = 3,
    ecpMulticast = 4,
    ecpMulticastPush = 5,
};

/// What has become of a connection.
enum EConnectStatus : short {
    ecsConnecting = 0,
    ecsConnected = 1,
    ecsDisconnect = 2,
    ecsConnectFail = 3,
    ecsMulticastError = 4,
    ecsUserAuthenticationFail = 5,
};

/// What a frame looks like when it reaches the insert operations, which a recording needs to know.
enum class StreamForm : std::int32_t {
    Unknown = 0,
    WithHeader = 1,  // frames carry the camera's header (docs/camera-interface.md)
    Bare = 2,
};

/// Results of the queue operations, in the system's numbering.
using Result = std::int32_t;
inline constexpr Result kResultOk = 0;
inline constexpr Result kResultInvalidArgument = static_cast<Result>(0x80070057u);
inline constexpr Result kResultFail = static_cast<Result>(0x80004005u);

}  // namespace norix
