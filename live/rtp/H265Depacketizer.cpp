#include "live/rtp/H265Depacketizer.h"

#include "util/H265Syntax.h"

namespace live::rtp {
namespace {

using util::h265::kHeaderSize;

// RFC 7798, 4.4.
constexpr unsigned kLastSingle = 47;
constexpr unsigned kAggregation = 48;
constexpr unsigned kFragmentation = 49;
constexpr std::size_t kOrderNumberSize = 2;      // DONL
constexpr std::size_t kOrderDifferenceSize = 1;  // DOND

// The header of a fragmentation unit.
constexpr unsigned kStart = 0x80;
constexpr unsigned kEnd = 0x40;
constexpr unsigned kTypeMask = 0x3F;

constexpr unsigned kOutsideType = 0x81;  // of a NAL unit header's first byte

}  // namespace

void H265Depacketizer::onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) {
    if (afterLoss) drop(frames);
    if (packet.payload.empty()) return;
    ByteReader reader(packet.payload);
    const Bytes header = reader.take(kHeaderSize);
    const unsigned type = header.empty() ? kTypeMask : util::h265::TypeOf(header[0]);
    if (type == kFragmentation) {
        onFragment(header, reader, packet, frames);
        return;
    }
    drop(frames);  // a fragmented unit whose end never came
    if (type == kAggregation) {
        onAggregate(reader, packet, frames);
    } else if (type <= kLastSingle) {
        onSingle(header, reader, packet, frames);
    } else {
        // Content information, which nobody agrees on, or undefined.
        frames.noteMissing();
    }
}

void H265Depacketizer::onSingle(Bytes header, ByteReader reader, const RtpPacket& packet,
                                FrameQueue& frames) {
    if (m_orderNumbers) reader.skip(kOrderNumberSize);
    if (!reader.ok()) {
        frames.noteMissing();
        return;
    }
    frames.append(header);
    frames.append(reader.rest());
    frames.commit(infoOf(packet));
}

void H265Depacketizer::onAggregate(ByteReader reader, const RtpPacket& packet, FrameQueue& frames) {
    for (bool first = true; reader.left() > 0; first = false) {
        if (m_orderNumbers) reader.skip(first ? kOrderNumberSize : kOrderDifferenceSize);
        const Bytes unit = reader.take(reader.u16());
        if (!reader.ok()) {
            frames.noteMissing();
            return;
        }
        FrameInfo info = infoOf(packet);
        info.marker = info.marker && reader.left() == 0;
        frames.append(unit);
        frames.commit(info);
    }
}

void H265Depacketizer::onFragment(Bytes header, ByteReader reader, const RtpPacket& packet,
                                  FrameQueue& frames) {
    const unsigned fragment = reader.u8();
    const unsigned type = fragment & kTypeMask;
    if (fragment & kStart) {
        drop(frames);
        if (m_orderNumbers) reader.skip(kOrderNumberSize);
    }
    if (!reader.ok()) {
        drop(frames);
        frames.noteMissing();
        return;
    }
    if (fragment & kStart) {
        m_fragmented = true;
        m_timestamp = packet.timestamp;
        m_type = type;
        frames.append(static_cast<unsigned char>((header[0] & kOutsideType) | type << 1));
        frames.append(header[1]);
    } else if (!m_fragmented || m_timestamp != packet.timestamp || m_type != type) {
        drop(frames);
        frames.noteMissing();
        return;
    }
    frames.append(reader.rest());
    if (fragment & kEnd) {
        m_fragmented = false;
        frames.commit(infoOf(packet));
    }
}

void H265Depacketizer::drop(FrameQueue& frames) {
    if (m_fragmented) frames.discard();
    m_fragmented = false;
}

}  // namespace live::rtp
