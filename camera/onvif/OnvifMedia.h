#pragma once

// Our own implementation of IKsOnvifMedia: SOAP over HTTP. docs/onvif.md tells the calls and their order.

#include <cstdint>
#include <functional>
#include <string>

#include "camera/HttpTransport.h"
#include "camera/onvif/OnvifRoute.h"

namespace norix {

/// Where time and chance come from.
struct OnvifSurroundings {
    std::function<std::int64_t()> milliseconds;  // steady
    std::function<std::int64_t()> utcSeconds;    // since 1970, this machine's clock
    std::function<std::string()> nonce;          // 16 random bytes
};
OnvifSurroundings SystemOnvifSurroundings();

/// All that is asked after one Open has to begin within this time of it. The last request may take as long as
/// the transport lets it.
inline constexpr std::int64_t kOnvifMilliseconds = 4000;
inline constexpr unsigned kOnvifMostRequests = 5;
inline constexpr std::size_t kOnvifLargestReply = 256 * 1024;
inline constexpr std::size_t kOnvifMostProfiles = 128;
inline constexpr std::size_t kOnvifMostPresets = 256;

/// The transport has to outlive the object. Asks nothing yet; throws nothing but bad_alloc.
OnvifMediaPtr CreateOnvifMedia(HttpTransport& transport,
                               OnvifSurroundings surroundings = SystemOnvifSurroundings());

}  // namespace norix
