#pragma once

#include <string>

#include "media/MediaTypes.h"
#include "media/MulticastInfo.h"

namespace norix {

/// The session description of a stream that a camera pushes to multicast groups without being asked: one
/// medium for each of the video and the audio group that is set. Pure.
std::string PushDescription(const MulticastInfo& multicast, VideoCodec videoCodec);

}  // namespace norix
