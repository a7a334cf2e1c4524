#include "Packetizer.h"

#include <algorithm>
#include <random>

namespace live_test {
namespace {

void put(Buffer& out, std::uint32_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<unsigned char>(value >> shift));
}

// Calls make(offset, size, last) for each piece of `total` bytes.
template <typename Make>
std::vector<Packet> cut(std::size_t total, std::size_t size, std::uint32_t timestamp, Make make) {
    std::vector<Packet> packets;
    for (std::size_t at = 0; at < total || packets.empty(); at += size) {
        const std::size_t n = std::min(size, total - at);
        Packet packet;
        packet.timestamp = timestamp;
        packet.marker = at + n >= total;
        packet.payload = make(at, n);
        packets.push_back(std::move(packet));
    }
    return packets;
}

void append(Buffer& out, const Buffer& from, std::size_t at, std::size_t size) {
    out.insert(out.end(), from.begin() + static_cast<std::ptrdiff_t>(at),
               from.begin() + static_cast<std::ptrdiff_t>(at + size));
}

}  // namespace

Buffer Packet::wire(std::uint8_t payloadType, std::uint32_t ssrc) const {
    Buffer out = {0x80, static_cast<unsigned char>((marker ? 0x80 : 0) | payloadType)};
    put(out, sequence, 2);
    put(out, timestamp, 4);
    put(out, ssrc, 4);
    append(out, payload, 0, payload.size());
    return out;
}

std::vector<Packet> packetizeH264(const Buffer& unit, std::uint32_t timestamp, std::size_t size) {
    if (unit.size() <= size) {
        return cut(unit.size(), size, timestamp, [&](std::size_t, std::size_t) { return unit; });
    }
    const unsigned type = unit[0] & 0x1F;
    return cut(unit.size() - 1, size - 2, timestamp, [&](std::size_t at, std::size_t n) {
        const bool last = at + n == unit.size() - 1;
        Buffer out;
        put(out, (unit[0] & 0xE0u) | 28, 1);
        put(out, (at == 0 ? 0x80u : 0) | (last ? 0x40u : 0) | type, 1);
        append(out, unit, at + 1, n);
        return out;
    });
}

std::vector<Packet> packetizeH265(const Buffer& unit, std::uint32_t timestamp, std::size_t size) {
    if (unit.size() <= size)
        return cut(unit.size(), size, timestamp, [&](std::size_t, std::size_t) { return unit; });
    const unsigned type = unit[0] >> 1 & 0x3Fu;
    return cut(unit.size() - 2, size - 3, timestamp, [&](std::size_t at, std::size_t n) {
        const bool last = at + n == unit.size() - 2;
        Buffer out;
        put(out, (unit[0] & 0x81u) | 49 << 1, 1);
        put(out, unit[1], 1);
        put(out, (at == 0 ? 0x80u : 0) | (last ? 0x40u : 0) | type, 1);
        append(out, unit, at + 2, n);
        return out;
    });
}

std::vector<Packet> packetizeMpeg4Video(const Buffer& frame, std::uint32_t timestamp, std::size_t size) {
    return cut(frame.size(), size, timestamp, [&](std::size_t at, std::size_t n) {
        Buffer out;
        append(out, frame, at, n);
        return out;
    });
}

std::vector<Packet> packetizeAac(const Buffer& unit, std::uint32_t timestamp, std::size_t size) {
    return cut(unit.size(), size - 4, timestamp, [&](std::size_t at, std::size_t n) {
        Buffer out;
        put(out, 16, 2);
        put(out, static_cast<std::uint32_t>(unit.size()) << 3, 2);
        append(out, unit, at, n);
        return out;
    });
}

std::vector<Packet> packetizeJpeg(const Buffer& scan, const JpegShape& shape, std::uint32_t timestamp,
                                  std::size_t size) {
    return cut(scan.size(), size, timestamp, [&](std::size_t at, std::size_t n) {
        Buffer out;
        put(out, static_cast<std::uint32_t>(at), 4);
        put(out, shape.type + (shape.restartInterval ? 64 : 0), 1);
        put(out, shape.q, 1);
        put(out, shape.width / 8, 1);
        put(out, shape.height / 8, 1);
        if (shape.restartInterval) {
            put(out, shape.restartInterval, 2);
            put(out, 0xFFFF, 2);
        }
        if (at == 0 && shape.q >= 128) {
            put(out, 0, 2);
            put(out, static_cast<std::uint32_t>(shape.tables.size()), 2);
            append(out, shape.tables, 0, shape.tables.size());
        }
        append(out, scan, at, n);
        return out;
    });
}

namespace {
Packet aggregate(const Buffer& header, const std::vector<Buffer>& units, std::uint32_t timestamp) {
    Packet packet;
    packet.timestamp = timestamp;
    packet.marker = true;
    packet.payload = header;
    for (const Buffer& unit : units) {
        put(packet.payload, static_cast<std::uint32_t>(unit.size()), 2);
        append(packet.payload, unit, 0, unit.size());
    }
    return packet;
}
}  // namespace

Packet aggregateH264(const std::vector<Buffer>& units, std::uint32_t timestamp) {
    return aggregate({24}, units, timestamp);
}

Packet aggregateH265(const std::vector<Buffer>& units, std::uint32_t timestamp) {
    return aggregate({48 << 1, 1}, units, timestamp);
}

Packet aggregateAac(const std::vector<Buffer>& units, std::uint32_t timestamp) {
    Packet packet;
    packet.timestamp = timestamp;
    packet.marker = true;
    put(packet.payload, static_cast<std::uint32_t>(16 * units.size()), 2);
    for (const Buffer& unit : units)
        put(packet.payload, static_cast<std::uint32_t>(unit.size()) << 3, 2);
    for (const Buffer& unit : units)
        append(packet.payload, unit, 0, unit.size());
    return packet;
}

Buffer randomBytes(std::uint32_t seed, std::size_t size, const Buffer& first) {
    std::minstd_rand random(seed + 1);
    Buffer bytes = first;
    while (bytes.size() < size)
        bytes.push_back(static_cast<unsigned char>(random() >> 8));
    return bytes;
}

std::vector<Buffer> depacketize(live::rtp::Depacketizer& depacketizer, const std::vector<Packet>& packets) {
    std::vector<Buffer> frames;
    live::rtp::FrameQueue queue;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const bool afterLoss =
            i > 0 && static_cast<std::uint16_t>(packets[i - 1].sequence + 1) != packets[i].sequence;
        depacketizer.onPacket(packets[i].view(), afterLoss, queue);
        for (; !queue.empty(); queue.pop()) {
            const auto bytes = queue.front().bytes;
            frames.emplace_back(bytes.begin(), bytes.end());
        }
    }
    return frames;
}

std::vector<Packet> joined(const std::vector<std::vector<Packet>>& parts, std::uint16_t first) {
    std::vector<Packet> all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    for (Packet& packet : all)
        packet.sequence = first++;
    return all;
}

}  // namespace live_test
