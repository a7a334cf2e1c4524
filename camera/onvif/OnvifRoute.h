#pragma once

// What the control wants of ONVIF, in one call.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "camera/onvif/KsOnvif.h"

namespace norix {

struct OnvifReleaser {
    void operator()(IKsOnvifMedia* media) const noexcept { media->Release(); }
};
using OnvifMediaPtr = std::unique_ptr<IKsOnvifMedia, OnvifReleaser>;

/// Text is UTF-8.
struct OnvifQuestion {
    std::string host;
    std::uint16_t port = 80;
    bool secure = false;
    std::string user;
    std::string password;
    std::string mediaServiceUri;  // if not empty, it names host and port as well
    std::string profileToken;     // if not empty, it counts and the next three don't
    std::uint32_t channel = 1;
    std::uint32_t streamIndex = 1;
    KsOnvifCodec codec = kKsOnvifAnyCodec;
    std::uint32_t protocol = kKsOnvifUdp;  // 1 to 4 as KsOnvifTransport; nothing is asked for any other

    bool operator==(const OnvifQuestion&) const = default;
};

struct OnvifStream {
    std::string uri;  // "rtsp://...", without user and password
    std::string profileToken;
    std::uint32_t frameRateLimit = 0;  // pictures per second; 0: not known
};

/// Profile, stream address, frame-rate limit, in this order. Nothing when the camera has no answer that can
/// be used; why is in the log. Blocks while the camera is asked, within the limits of OnvifMedia.h. Throws
/// nothing but bad_alloc.
/// `result`, where it is given, gets the code that ended the round.
std::optional<OnvifStream> AskOnvif(IKsOnvifMedia& media, const OnvifQuestion& question,
                                    KsOnvifResult* result = nullptr);

}  // namespace norix
