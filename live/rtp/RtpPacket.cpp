#include "live/rtp/RtpPacket.h"

namespace live::rtp {

std::optional<RtpPacket> parseRtpPacket(Bytes bytes) {
    constexpr unsigned kVersion = 2;
    ByteReader reader(bytes);
    const unsigned flags = reader.u8();
    const unsigned type = reader.u8();
    RtpPacket packet;
    packet.marker = (type & 0x80) != 0;
    packet.payloadType = type & 0x7F;
    packet.sequence = reader.u16();
    packet.timestamp = reader.u32();
    packet.ssrc = reader.u32();
    if (flags >> 6 != kVersion) return std::nullopt;

    reader.skip((flags & 0x0F) * 4);  // contributing sources
    if (flags & 0x10) {
        reader.skip(2);  // the extension's profile
        reader.skip(reader.u16() * std::size_t{4});
    }
    if (!reader.ok()) return std::nullopt;
    packet.payload = reader.rest();
    if (flags & 0x20) {
        if (packet.payload.empty()) return std::nullopt;
        const std::size_t padding = packet.payload.back();
        if (padding == 0 || padding > packet.payload.size()) return std::nullopt;
        packet.payload = packet.payload.first(packet.payload.size() - padding);
    }
    return packet;
}

}  // namespace live::rtp
