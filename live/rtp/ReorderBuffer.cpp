#include "live/rtp/ReorderBuffer.h"

#include <algorithm>
#include <utility>

#include "live/rtp/RtpPacket.h"

namespace live::rtp {
namespace {
constexpr int kMaxLate = 100;  // further back than this is a restart, not a late packet
}

ReorderBuffer::ReorderBuffer() : m_slots(kSlots) {}

void ReorderBuffer::push(std::uint16_t sequence, Bytes packet, std::int64_t now, OrderedReceiver& out) {
    if (!m_started) {
        m_started = true;
        m_next = sequence;
    }
    const int ahead = sequenceDistance(sequence, m_next);
    if (ahead < -kMaxLate || ahead >= static_cast<int>(kSlots)) {
        if (m_restartCandidate == sequence) {
            restart(sequence, packet, out);
        } else {
            m_restartCandidate = static_cast<std::uint16_t>(sequence + 1);
        }
        return;
    }
    m_restartCandidate.reset();
    if (ahead < 0) return;
    if (ahead > 0 && slot(sequence).used) return;
    if (ahead == 0) {
        ++m_next;
        out.onOrderedPacket(packet, std::exchange(m_gap, false));
        releaseRun(out);
    } else {
        while (m_waiting > 0 && m_waitingBytes + packet.size() > kMaxWaitingBytes) {
            skipToNextWaiting();
            releaseRun(out);
        }
        // Making room may have gone past this packet.
        const int stillAhead = sequenceDistance(sequence, m_next);
        if (stillAhead < 0) return;
        store(sequence, packet, now);
        if (stillAhead == 0) releaseRun(out);
    }
    expire(now, out);
}

std::optional<std::int64_t> ReorderBuffer::deadline() const {
    if (m_waiting == 0) return std::nullopt;
    return oldestArrival() + m_threshold;
}

void ReorderBuffer::expire(std::int64_t now, OrderedReceiver& out) {
    while (m_waiting > 0 && oldestArrival() + m_threshold <= now) {
        skipToNextWaiting();
        releaseRun(out);
    }
}

void ReorderBuffer::reset() {
    for (Slot& s : m_slots)
        s.used = false;
    m_waiting = 0;
    m_waitingBytes = 0;
    m_started = false;
    m_gap = false;
    m_restartCandidate.reset();
}

void ReorderBuffer::store(std::uint16_t sequence, Bytes packet, std::int64_t now) {
    Slot& s = slot(sequence);
    s.used = true;
    s.arrival = now;
    s.bytes.assign(packet.begin(), packet.end());
    ++m_waiting;
    m_waitingBytes += packet.size();
}

void ReorderBuffer::release(std::uint16_t sequence, OrderedReceiver& out) {
    Slot& s = slot(sequence);
    s.used = false;
    --m_waiting;
    m_waitingBytes -= s.bytes.size();
    out.onOrderedPacket(s.bytes, std::exchange(m_gap, false));
    // A few giant packets must not make every slot a giant for ever.
    constexpr std::size_t kUsualPacket = 4096;
    if (s.bytes.capacity() > kUsualPacket) s.bytes = {};
}

void ReorderBuffer::releaseRun(OrderedReceiver& out) {
    while (m_waiting > 0 && slot(m_next).used)
        release(m_next++, out);
}

// Only called while packets wait.
void ReorderBuffer::skipToNextWaiting() {
    while (!slot(m_next).used)
        ++m_next;
    m_gap = true;
}

void ReorderBuffer::restart(std::uint16_t sequence, Bytes packet, OrderedReceiver& out) {
    while (m_waiting > 0) {
        skipToNextWaiting();
        releaseRun(out);
    }
    m_restartCandidate.reset();
    m_next = static_cast<std::uint16_t>(sequence + 1);
    m_gap = false;
    out.onOrderedPacket(packet, true);
}

// The packets at the front have usually waited longest, but a late one may stand before them.
std::int64_t ReorderBuffer::oldestArrival() const {
    std::int64_t oldest = INT64_MAX;
    std::size_t left = m_waiting;
    for (std::uint16_t sequence = m_next; left > 0; ++sequence) {
        if (!slot(sequence).used) continue;
        oldest = std::min(oldest, slot(sequence).arrival);
        --left;
    }
    return oldest;
}

}  // namespace live::rtp
