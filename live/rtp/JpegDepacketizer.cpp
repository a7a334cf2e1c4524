#include "live/rtp/JpegDepacketizer.h"

namespace live::rtp {
namespace {
constexpr unsigned kFirstRestartType = 64;
constexpr unsigned kFirstTableQ = 128;  // from here on tables travel in the packets
constexpr unsigned kUncachedQ = 255;    // in every frame anew
constexpr unsigned kLastScaledQ = 99;
}  // namespace

void JpegDepacketizer::onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) {
    if (afterLoss) drop(frames);
    // A sender that sets no markers.
    if (m_open && packet.timestamp != m_last.timestamp) finish(m_last, frames);

    ByteReader reader(packet.payload);
    reader.skip(1);  // type-specific: interlacing, which the picture's lines show anyway
    const std::size_t offset = reader.u24();
    unsigned type = reader.u8();
    const unsigned q = reader.u8();
    JpegHeaders headers;
    headers.width = reader.u8() * 8u;
    headers.height = reader.u8() * 8u;
    if (type >= kFirstRestartType && type < kFirstTableQ) {
        headers.restartInterval = reader.u16();
        reader.skip(2);  // which intervals the packet holds
        type -= kFirstRestartType;
    }
    if (!reader.ok() || type > 1) {
        drop(frames);
        return;
    }
    headers.subsampledVertically = type == 1;
    if (headers.width == 0) headers.width = m_width;
    if (headers.height == 0) headers.height = m_height;

    if (offset == 0) {
        drop(frames);
        m_open = start(headers, q, reader, frames);
    } else if (m_open && offset != frames.openSize() - m_headerSize) {
        drop(frames);
    }
    m_last = infoOf(packet);
    if (!m_open) return;
    frames.append(reader.rest());
    if (packet.marker) finish(m_last, frames);
}

bool JpegDepacketizer::start(const JpegHeaders& main, unsigned q, ByteReader& reader, FrameQueue& frames) {
    JpegHeaders headers = main;
    if (!findTables(q, reader, headers) || !buildJpegHeaders(headers, m_headerBytes)) return false;
    m_headerSize = m_headerBytes.size();
    frames.append(m_headerBytes);
    return true;
}

bool JpegDepacketizer::findTables(unsigned q, ByteReader& reader, JpegHeaders& headers) {
    if (q < kFirstTableQ) {
        if (q == 0 || q > kLastScaledQ) return false;
        if (m_scaledQ != q) scaleQuantizers(q, m_scaled);
        m_scaledQ = q;
        headers.quantizers = m_scaled;
        return true;
    }
    reader.skip(1);
    headers.precision = reader.u8();
    headers.quantizers = reader.take(reader.u16());
    if (!reader.ok()) return false;
    if (headers.quantizers.empty()) {
        if (q == kUncachedQ) return false;
        const CachedTables& cached = m_cached[q - kFirstTableQ];
        headers.quantizers = cached.bytes;
        headers.precision = cached.precision;
    } else if (q != kUncachedQ && quantizersFit(headers.quantizers, headers.precision)) {
        CachedTables& cached = m_cached[q - kFirstTableQ];
        cached.bytes.assign(headers.quantizers.begin(), headers.quantizers.end());
        cached.precision = headers.precision;
    }
    return true;
}

void JpegDepacketizer::finish(const FrameInfo& info, FrameQueue& frames) {
    const Bytes data = frames.open();
    const bool ended = data.size() >= 2 && data[data.size() - 2] == 0xFF && data[data.size() - 1] == 0xD9;
    if (!ended) {
        frames.append(0xFF);
        frames.append(0xD9);
    }
    frames.commit(info);
    m_open = false;
}

void JpegDepacketizer::drop(FrameQueue& frames) {
    if (m_open) frames.discard();
    m_open = false;
}

void JpegDepacketizer::reset() {
    m_open = false;
    for (CachedTables& cached : m_cached)
        cached.bytes.clear();
}

}  // namespace live::rtp
