#include "audio/talkback/VoiceBacklog.h"

#include <utility>

namespace norix {

// The packet that has been begun keeps its place.
void VoiceBacklog::DropOldest() {
    const std::size_t victim = IsBegun() ? 1 : 0;
    m_droppedUs += At(victim).durationUs;
    m_waitingUs -= At(victim).durationUs;
    if (victim == 1) std::swap(At(0), At(1));
    m_first = (m_first + 1) % kMost;
    --m_count;
}

void VoiceBacklog::Add(std::span<const std::uint8_t> packet, std::uint32_t durationUs) {
    if (packet.empty()) return;
    const std::size_t kept = IsBegun() ? 1 : 0;
    while (m_count > kept && (m_count == kMost || m_waitingUs + durationUs > m_limitUs))
        DropOldest();
    Packet& last = At(m_count++);
    last.bytes.assign(packet.begin(), packet.end());
    last.durationUs = durationUs;
    m_waitingUs += durationUs;
}

std::span<const std::uint8_t> VoiceBacklog::Front() const {
    if (m_count == 0) return {};
    return std::span(At(0).bytes).subspan(m_sent);
}

void VoiceBacklog::Consume(std::size_t bytes) {
    if (bytes == 0 || m_count == 0) return;
    if (!IsBegun()) m_waitingUs -= At(0).durationUs;
    m_sent += bytes;
    if (m_sent < At(0).bytes.size()) return;
    m_sent = 0;
    m_first = (m_first + 1) % kMost;
    --m_count;
}

}  // namespace norix
