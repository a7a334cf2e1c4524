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

/// What of a camera's head a profile moves.
struct PtzAxes {
    bool turns = false;  // at a speed, that is
    bool zooms = false;
    bool ownSpaces = false;  // the speeds that count by themselves are not those that every camera knows
};

struct Profile {
    std::string token;   // as the camera wrote it, also if empty
    std::string source;  // the token of its video source; empty: it names none
    KsOnvifCodec codec = kKsOnvifAnyCodec;
    std::uint32_t frameRateLimit = 0;  // pictures per second, at most 1000; 0: not stated
    std::optional<PtzAxes> ptz{};
};

struct Preset {
    std::string token;  // never empty
    std::string name;
};

/// Where the camera states that a service is.
struct ServiceAddress {
    std::string nameSpace;
    std::string address;
};

struct Fault {
    std::string code;  // the most specific one, without prefix: "NotAuthorized"
    std::string reason;
    bool IsDenial() const;
};

/// Seconds since 1970; nothing for a date that doesn't exist, such as the 30th of February.
std::optional<std::int64_t> ParseSystemDateAndTime(std::string_view reply);
/// All that has an address. Nothing: this is no such reply.
std::optional<std::vector<ServiceAddress>> ParseServices(std::string_view reply);
/// The address of the service of this category ("Media", "PTZ"); empty: it states none.
std::string ParseCapabilities(std::string_view reply, const char* category);
/// The first kOnvifMostProfiles, in the camera's order. Nothing: this is no such reply.
std::optional<std::vector<Profile>> ParseProfiles(std::string_view reply);
std::string ParseStreamUri(std::string_view reply);
/// The first kOnvifMostPresets, in the camera's order. Nothing: this is no such reply.
std::optional<std::vector<Preset>> ParsePresets(std::string_view reply);
/// The token of the preset that was made; empty: this is no such reply.
std::string ParseSetPreset(std::string_view reply);
std::optional<Fault> ParseFault(std::string_view reply);

}  // namespace norix::onvif
