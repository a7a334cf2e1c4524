#pragma once

#include <memory>
#include <string>

#include "live/rtp/Depacketizer.h"
#include "live/sdp/SdpDescription.h"

namespace live::rtp {

/// What reads a medium's packets; NULL with the reason for what this library can't receive.
std::unique_ptr<Depacketizer> makeDepacketizer(const sdp::Media& media, std::string& error);

}  // namespace live::rtp
