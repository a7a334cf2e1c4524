#pragma once

// The sending side of each payload format, written from the RFCs: what the depacketisers are turned against.

#include <cstdint>
#include <string>
#include <vector>

#include "live/rtp/Depacketizer.h"

namespace live_test {

using Buffer = std::vector<unsigned char>;

// A packet as it stands between two ends: header fields and payload.
struct Packet {
    std::uint16_t sequence = 0;
    std::uint32_t timestamp = 0;
    bool marker = false;
    Buffer payload;

    live::rtp::RtpPacket view() const {
        live::rtp::RtpPacket packet;
        packet.sequence = sequence;
        packet.timestamp = timestamp;
        packet.marker = marker;
        packet.payload = payload;
        return packet;
    }
    Buffer wire(std::uint8_t payloadType, std::uint32_t ssrc) const;
};

// Each cuts a frame into payloads of at most `size` bytes, the last with the marker.
std::vector<Packet> packetizeH264(const Buffer& unit, std::uint32_t timestamp, std::size_t size);
std::vector<Packet> packetizeH265(const Buffer& unit, std::uint32_t timestamp, std::size_t size);
std::vector<Packet> packetizeMpeg4Video(const Buffer& frame, std::uint32_t timestamp, std::size_t size);
std::vector<Packet> packetizeAac(const Buffer& unit, std::uint32_t timestamp,
                                 std::size_t size);  // 13/3/3 bits
struct JpegShape {
    unsigned type = 1;
    unsigned q = 50;
    unsigned width = 320;
    unsigned height = 240;
    unsigned restartInterval = 0;
    Buffer tables;  // with q of 128 and more
};
std::vector<Packet> packetizeJpeg(const Buffer& scan, const JpegShape& shape, std::uint32_t timestamp,
                                  std::size_t size);
// Several small units in one packet.
Packet aggregateH264(const std::vector<Buffer>& units, std::uint32_t timestamp);
Packet aggregateH265(const std::vector<Buffer>& units, std::uint32_t timestamp);
Packet aggregateAac(const std::vector<Buffer>& units, std::uint32_t timestamp);

// Bytes that look like anything, the same for the same seed. `first` begins them.
Buffer randomBytes(std::uint32_t seed, std::size_t size, const Buffer& first = {});

// Feeds packets in this order; where a sequence number is missing, the depacketiser is told.
std::vector<Buffer> depacketize(live::rtp::Depacketizer& depacketizer, const std::vector<Packet>& packets);

// Numbers packets through.
std::vector<Packet> joined(const std::vector<std::vector<Packet>>& parts, std::uint16_t first = 65530);

}  // namespace live_test
