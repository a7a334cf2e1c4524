#include "live/rtp/Mpeg4VideoDepacketizer.h"

#include <utility>

namespace live::rtp {
namespace {

// Every frame begins with a start code, and hardly anything else does; resynchronisation markers have more
// zero bits.
bool beginsWithStartCode(Bytes payload) {
    return payload.size() >= 4 && payload[0] == 0 && payload[1] == 0 && payload[2] == 1;
}

// ISO/IEC 14496-2, 6.2.1: the last byte of a picture's start code.
constexpr unsigned char kVopStartCode = 0xB6;

// Where in `bytes` the first picture ends, which is at the start code of what follows it; all of them when
// nothing does.
std::size_t endOfFirstPicture(Bytes bytes) {
    bool inPicture = false;
    for (std::size_t at = 0; at + 3 < bytes.size(); ++at) {
        if (!beginsWithStartCode(bytes.subspan(at))) continue;
        if (inPicture) return at;
        inPicture = bytes[at + 3] == kVopStartCode;
        at += 3;
    }
    return bytes.size();
}

}  // namespace

// Hands on what is open, picture by picture.
void Mpeg4VideoDepacketizer::finish(FrameQueue& frames) {
    constexpr std::uint32_t kLongest = 90000;  // a second: what is further apart doesn't follow on
    const std::uint32_t passed = m_last.timestamp - m_timestamp;
    const std::uint32_t step = m_pictures != 0 && passed <= kLongest ? passed / m_pictures : 0;
    FrameInfo info = m_last;
    m_timestamp = m_last.timestamp;
    m_pictures = 1;
    // Only what fits into one packet is ever put together.
    for (; m_packets == 1; ++m_pictures, info.timestamp += step) {
        const std::size_t end = endOfFirstPicture(frames.open());
        if (end == frames.openSize() || !frames.commitFront(end, info)) break;
    }
    frames.commit(info);
}

void Mpeg4VideoDepacketizer::onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) {
    const bool newTimestamp = packet.timestamp != m_last.timestamp;
    // Whoever joins a stream begins in the middle of a frame.
    if (afterLoss || !std::exchange(m_begun, true)) {
        if (m_state == State::Open) frames.discard();
        // What is missing may be this frame's beginning.
        m_state = beginsWithStartCode(packet.payload) ? State::Idle : State::Skipping;
    } else if (newTimestamp) {
        if (m_state == State::Open) finish(frames);
        m_state = State::Idle;
    }
    m_last = infoOf(packet);
    if (m_state == State::Idle) {
        m_state = State::Open;
        m_packets = 0;
    }
    if (m_state == State::Open) {
        frames.append(packet.payload);
        ++m_packets;
    }
    if (packet.marker) {
        if (m_state == State::Open) finish(frames);
        m_state = State::Idle;
    }
}

}  // namespace live::rtp
