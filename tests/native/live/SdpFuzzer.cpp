// A description that is accepted is within its bounds, and whatever payload format it names can be made.

#include <cstdint>
#include <cstdlib>

#include "live/rtp/PayloadFormats.h"
#include "live/sdp/SdpDescription.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string error;
    const auto session = live::sdp::parseSdp({reinterpret_cast<const char*>(data), size}, error);
    if (!session) {
        if (error.empty()) std::abort();
        return 0;
    }
    if (session->media.size() > live::sdp::kMaxMedia) std::abort();
    for (const auto& media : session->media) {
        if (!live::rtp::makeDepacketizer(media, error) && error.empty()) std::abort();
        if (media.payloadType > 127 || (!media.codec.empty() && media.clockRate == 0)) std::abort();
    }
    return 0;
}
