#include "live/rtp/Mpeg4VideoDepacketizer.h"

#include <utility>

namespace live::rtp {
namespace {

// Every frame begins with a start code, and hardly anything else does; resynchronisation markers have more
// zero bits.
bool beginsWithStartCode(Bytes payload) {
    return payload.size() >= 4 && payload[0] == 0 && payload[1] == 0 && payload[2] == 1;
}

}  // namespace

void Mpeg4VideoDepacketizer::onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) {
    const bool newTimestamp = packet.timestamp != m_last.timestamp;
    // Whoever joins a stream begins in the middle of a frame.
    if (afterLoss || !std::exchange(m_begun, true)) {
        if (m_state == State::Open) frames.discard();
        // What is missing may be this frame's beginning.
        m_state = beginsWithStartCode(packet.payload) ? State::Idle : State::Skipping;
    } else if (newTimestamp) {
        if (m_state == State::Open) frames.commit(m_last);
        m_state = State::Idle;
    }
    m_last = infoOf(packet);
    if (m_state == State::Idle) m_state = State::Open;
    if (m_state == State::Open) frames.append(packet.payload);
    if (packet.marker) {
        if (m_state == State::Open) frames.commit(m_last);
        m_state = State::Idle;
    }
}

}  // namespace live::rtp
