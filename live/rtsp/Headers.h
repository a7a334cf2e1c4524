#pragma once

// The RTSP headers that have a structure. Pure; what is malformed is left at its default or refused as a
// whole.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace live::rtsp {

using PortPair = std::pair<std::uint16_t, std::uint16_t>;
using ChannelPair = std::pair<std::uint8_t, std::uint8_t>;

struct Transport {
    bool tcp = false;
    bool multicast = false;
    std::string destination;
    std::string source;
    std::optional<PortPair> serverPort;
    std::optional<PortPair> clientPort;
    std::optional<PortPair> port;  // multicast
    std::optional<ChannelPair> interleaved;
    std::optional<std::uint32_t> ssrc;
};

/// The first transport of the header; nothing when it isn't RTP or a number is out of range.
std::optional<Transport> parseTransport(std::string_view value);

struct SessionHeader {
    std::string id;
    unsigned timeout = 0;  // seconds; 0: not stated
};
/// Nothing when the id is empty, too long, or holds what would end a header line.
std::optional<SessionHeader> parseSession(std::string_view value);

struct RtpInfoEntry {
    std::string url;
    std::optional<std::uint16_t> sequence;
    std::optional<std::uint32_t> timestamp;
};
std::vector<RtpInfoEntry> parseRtpInfo(std::string_view value);

}  // namespace live::rtsp
