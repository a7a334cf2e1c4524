#include "live/rtp/H264Depacketizer.h"

namespace live::rtp {
namespace {
constexpr unsigned kLastSingle = 23;
constexpr unsigned kStapA = 24;
constexpr unsigned kFuA = 28;
constexpr unsigned kTypeMask = 0x1F;
constexpr unsigned kStart = 0x80;
constexpr unsigned kEnd = 0x40;
}  // namespace

void H264Depacketizer::onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) {
    if (afterLoss) drop(frames);
    if (packet.payload.empty()) return;
    const unsigned type = packet.payload[0] & kTypeMask;
    if (type == kFuA) {
        onFragment(packet, frames);
        return;
    }
    drop(frames);  // a fragmented unit whose end never came
    if (type == kStapA) {
        onAggregate(packet, frames);
    } else if (type >= 1 && type <= kLastSingle) {
        frames.append(packet.payload);
        frames.commit(infoOf(packet));
    } else {
        // The interleaved mode, which is never agreed on, or undefined.
        frames.noteMissing();
    }
}

void H264Depacketizer::onAggregate(const RtpPacket& packet, FrameQueue& frames) {
    ByteReader reader(packet.payload.subspan(1));
    while (reader.left() > 0) {
        const Bytes unit = reader.take(reader.u16());
        if (!reader.ok()) {
            frames.noteMissing();
            return;
        }
        frames.append(unit);
        frames.commit(infoOf(packet));
    }
}

void H264Depacketizer::onFragment(const RtpPacket& packet, FrameQueue& frames) {
    if (packet.payload.size() < 2) {
        drop(frames);
        return;
    }
    const unsigned indicator = packet.payload[0];
    const unsigned header = packet.payload[1];
    const unsigned type = header & kTypeMask;
    if (header & kStart) {
        drop(frames);
        m_fragmented = true;
        m_timestamp = packet.timestamp;
        m_type = type;
        frames.append(static_cast<unsigned char>((indicator & ~kTypeMask) | type));
    } else if (!m_fragmented || m_timestamp != packet.timestamp || m_type != type) {
        drop(frames);
        frames.noteMissing();
        return;
    }
    frames.append(packet.payload.subspan(2));
    if (header & kEnd) {
        m_fragmented = false;
        frames.commit(infoOf(packet));
    }
}

void H264Depacketizer::drop(FrameQueue& frames) {
    if (m_fragmented) frames.discard();
    m_fragmented = false;
}

}  // namespace live::rtp
