#pragma once

// What the replies say. Pure; text that isn't well-formed XML, is larger than kOnvifLargestReply or has a
// document type declaration says nothing. Names count without their namespace prefixes.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "camera/onvif/KsOnvif.h"

namespace norix::onvif {

struct Profile {
    std::string token;   // as the camera wrote it, also if empty
    std::string source;  // the token of its video source; empty: it names none
    KsOnvifCodec codec = kKsOnvifAnyCodec;
    std::uint32_t frameRateLimit = 0;  // pictures per second, at most 1000; 0: not stated
};

struct Fault {
    std::string code;  // the most specific one, without prefix: "NotAuthorized"
    std::string reason;
    bool IsDenial() const;
};

/// Seconds since 1970; nothing for a date that doesn't exist, such as the 30th of February.
std::optional<std::int64_t> ParseSystemDateAndTime(std::string_view reply);
/// The media service's address as the camera states it; empty: it states none.
std::string ParseServices(std::string_view reply);
std::string ParseCapabilities(std::string_view reply);
/// The first kOnvifMostProfiles, in the camera's order. Nothing: this is no such reply.
std::optional<std::vector<Profile>> ParseProfiles(std::string_view reply);
std::string ParseStreamUri(std::string_view reply);
std::optional<Fault> ParseFault(std::string_view reply);

}  // namespace norix::onvif
