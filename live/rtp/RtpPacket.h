#pragma once

// The RTP header (RFC 3550, 5.1) and what is left of a packet without it.

#include <optional>

#include "live/rtp/ByteReader.h"

namespace live::rtp {

struct RtpPacket {
    bool marker = false;
    std::uint8_t payloadType = 0;
    std::uint16_t sequence = 0;
    std::uint32_t timestamp = 0;
    std::uint32_t ssrc = 0;
    Bytes payload;  // without contributing sources, extension and padding; into the parsed bytes
};

/// Nothing when the packet is none, or lies about its lengths.
std::optional<RtpPacket> parseRtpPacket(Bytes bytes);

/// How far `a` is ahead of `b`, across wraps.
inline int sequenceDistance(std::uint16_t a, std::uint16_t b) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(a - b));
}
inline std::int64_t timestampDistance(std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a - b);
}

}  // namespace live::rtp
