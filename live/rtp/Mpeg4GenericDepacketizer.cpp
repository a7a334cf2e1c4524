#include "live/rtp/Mpeg4GenericDepacketizer.h"

#include "util/BitReader.h"

namespace live::rtp {
namespace {
constexpr std::size_t kMaxUnitsPerPacket = 256;
}

bool Mpeg4GenericFormat::valid() const {
    constexpr unsigned kLongest = 32;
    for (const unsigned length : {sizeLength, indexLength, indexDeltaLength, ctsDeltaLength, dtsDeltaLength,
                                  streamStateLength, auxiliarySizeLength}) {
        if (length > kLongest) return false;
    }
    return true;
}

bool Mpeg4GenericDepacketizer::readHeaders(ByteReader& reader) {
    m_headers.clear();
    if (!m_format.hasHeaders()) return true;
    const std::size_t bits = reader.u16();
    const Bytes section = reader.take((bits + 7) / 8);
    if (!reader.ok()) return false;
    util::BitReader fields(section.data(), section.size());
    while (fields.Position() < bits) {
        if (m_headers.size() == kMaxUnitsPerPacket) return false;
        UnitHeader header;
        header.size = m_format.sizeLength ? fields.Read(m_format.sizeLength) : m_format.constantSize;
        const bool first = m_headers.empty();
        const std::uint32_t index = fields.Read(first ? m_format.indexLength : m_format.indexDeltaLength);
        header.indexDelta = first ? 0 : index;
        if (m_format.ctsDeltaLength && fields.Read(1)) fields.Read(m_format.ctsDeltaLength);
        if (m_format.dtsDeltaLength && fields.Read(1)) fields.Read(m_format.dtsDeltaLength);
        if (m_format.randomAccessIndication) fields.Read(1);
        fields.Read(m_format.streamStateLength);
        if (fields.Position() > bits) return false;
        m_headers.push_back(header);
    }
    return !m_headers.empty();
}

void Mpeg4GenericDepacketizer::onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) {
    if (m_expected != 0 && (afterLoss || packet.timestamp != m_timestamp)) {
        frames.discard();
        m_expected = 0;
    }
    ByteReader reader(packet.payload);
    if (!readHeaders(reader)) return;
    if (m_format.auxiliarySizeLength) {
        util::BitReader length(reader.rest().data(), reader.left());
        const std::size_t bits =
            m_format.auxiliarySizeLength + std::size_t{length.Read(m_format.auxiliarySizeLength)};
        reader.skip((bits + 7) / 8);
        if (length.Overrun() || !reader.ok()) return;
    }
    FrameInfo info = infoOf(packet);
    info.duration = m_unitDuration;
    if (m_headers.empty()) {
        frames.append(reader.rest());
        frames.commit(info);
        return;
    }
    // Every fragment states the size of the whole unit.
    if (m_headers.size() == 1 && m_headers[0].size > reader.left()) {
        onFragment(packet, reader.rest(), m_headers[0].size, frames);
        return;
    }
    if (m_expected != 0) frames.discard();
    m_expected = 0;
    for (std::size_t i = 0; i < m_headers.size(); ++i) {
        const Bytes unit = reader.take(m_headers[i].size);
        if (!reader.ok()) return;
        if (i > 0) info.timestamp += (m_headers[i].indexDelta + 1) * m_unitDuration;
        frames.append(unit);
        frames.commit(info);
    }
}

void Mpeg4GenericDepacketizer::onFragment(const RtpPacket& packet, Bytes data, std::size_t wholeSize,
                                          FrameQueue& frames) {
    if (wholeSize > FrameQueue::kMaxBytes) return;
    if (m_expected == 0) {
        m_expected = wholeSize;
        m_timestamp = packet.timestamp;
    }
    frames.append(data);
    if (m_expected != wholeSize || frames.openSize() > m_expected) {
        frames.discard();
        m_expected = 0;
    } else if (frames.openSize() == m_expected) {
        FrameInfo info = infoOf(packet);
        info.duration = m_unitDuration;
        frames.commit(info);
        m_expected = 0;
    }
}

}  // namespace live::rtp
