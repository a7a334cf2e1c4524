#pragma once

// Which of a camera's profiles is meant by channel, stream and codec. Pure.

#include <cstdint>
#include <string>
#include <vector>

#include "camera/onvif/SoapReply.h"

namespace norix::onvif {

/// Channels are the video sources in the order in which the profiles name them; one beyond the last means the
/// last. A profile without a source belongs to each. `streamIndex` counts, from 1, the channel's profiles of
/// the wanted codec where there are that many, else all of the channel's. Null when it is beyond them.
const Profile* ChooseProfile(const std::vector<Profile>& profiles, std::uint32_t channel,
                             std::uint32_t streamIndex, KsOnvifCodec codec);

/// The profile that moves what `shown` shows: itself, or where it can't, the first of the same video source
/// that can. Null when there is none.
const Profile* ChooseMover(const std::vector<Profile>& profiles, const Profile& shown);

}  // namespace norix::onvif
