#include "live/rtp/ReorderBuffer.h"

#include <utility>

#include "live/rtp/RtpPacket.h"

namespace live::rtp {
namespace {
constexpr int kMaxLate = 1000;       // further back than this is a restart, not a late packet
constexpr unsigned kMaxBehind = 64;  // so many in a row, nothing else between them, are a restart as well

// Of the RTP header: a sender that restarts its numbering goes on with its timestamps.
std::uint64_t printOf(Bytes packet) {
    constexpr std::size_t kRtpHeader = 12;
    std::uint64_t print = packet.size();
    for (std::size_t i = 0; i < packet.size() && i < kRtpHeader; ++i)
        print = print * 1'099'511'628'211u + packet[i];
    return print;
}
}  // namespace

ReorderBuffer::ReorderBuffer() : m_slots(kSlots) {}

void ReorderBuffer::push(std::uint16_t sequence, Bytes packet, std::int64_t now, OrderedReceiver& out) {
    m_now = now;
    if (!m_started) {
        m_started = true;
        m_next = sequence;
        m_window.start(now);
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
    if (ahead < 0) {
        onBehind(sequence, packet, out);
        return;
    }
    m_behindRun = 0;
    if (ahead > 0 && slot(sequence).used) return;
    if (ahead == 0) {
        if (m_waiting > 0) m_window.onLate(now - slot(firstWaiting()).arrival, now);
        pass(sequence, packet);
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
        store(sequence, packet);
        if (stillAhead == 0) releaseRun(out);
    }
    expire(now, out);
}

void ReorderBuffer::onBehind(std::uint16_t sequence, Bytes packet, OrderedReceiver& out) {
    Slot& s = slot(sequence);
    if (s.passed && s.sequence == sequence && s.print == printOf(packet)) return;  // a duplicate
    if (s.givenUp && s.sequence == sequence) {
        s.givenUp = false;
        ++m_late;
        m_window.onLate(m_now - s.arrival, m_now);
    }
    m_behindRun = m_behindRun > 0 && sequence == m_behindNext ? m_behindRun + 1 : 1;
    m_behindNext = static_cast<std::uint16_t>(sequence + 1);
    if (m_behindRun == kMaxBehind) restart(sequence, packet, out);
}

std::optional<std::int64_t> ReorderBuffer::deadline() {
    if (m_waiting == 0) return std::nullopt;
    return slot(firstWaiting()).arrival + m_window.at(m_now);
}

void ReorderBuffer::expire(std::int64_t now, OrderedReceiver& out) {
    m_now = now;
    while (m_waiting > 0 && slot(firstWaiting()).arrival + m_window.at(now) <= now) {
        skipToNextWaiting();
        releaseRun(out);
    }
}

void ReorderBuffer::reset() {
    for (Slot& s : m_slots)
        s.used = s.givenUp = s.passed = false;
    m_waiting = 0;
    m_waitingBytes = 0;
    m_started = false;
    m_gap = false;
    m_behindRun = 0;
    m_restartCandidate.reset();
}

// Remembers what has been handed on, to know it when it comes again.
void ReorderBuffer::pass(std::uint16_t sequence, Bytes packet) {
    Slot& s = slot(sequence);
    s.passed = true;
    s.givenUp = false;
    s.sequence = sequence;
    s.print = printOf(packet);
}

void ReorderBuffer::store(std::uint16_t sequence, Bytes packet) {
    Slot& s = slot(sequence);
    s.used = true;
    s.givenUp = s.passed = false;
    s.sequence = sequence;
    s.arrival = m_now;
    s.bytes.assign(packet.begin(), packet.end());
    ++m_waiting;
    m_waitingBytes += packet.size();
}

void ReorderBuffer::release(std::uint16_t sequence, OrderedReceiver& out) {
    Slot& s = slot(sequence);
    s.used = false;
    --m_waiting;
    m_waitingBytes -= s.bytes.size();
    m_held.add(m_now - s.arrival, m_now);
    pass(sequence, s.bytes);
    out.onOrderedPacket(s.bytes, std::exchange(m_gap, false));
    // A few giant packets must not make every slot a giant for ever.
    constexpr std::size_t kUsualPacket = 4096;
    if (s.bytes.capacity() > kUsualPacket) s.bytes = {};
}

void ReorderBuffer::releaseRun(OrderedReceiver& out) {
    while (m_waiting > 0 && slot(m_next).used)
        release(m_next++, out);
}

// The head of what waits. Only called while packets do.
std::uint16_t ReorderBuffer::firstWaiting() {
    std::uint16_t sequence = m_next;
    while (!slot(sequence).used)
        ++sequence;
    return sequence;
}

// Only called while packets wait.
void ReorderBuffer::skipToNextWaiting() {
    const std::int64_t arrival = slot(firstWaiting()).arrival;
    for (; !slot(m_next).used; ++m_next) {
        Slot& lost = slot(m_next);
        lost.givenUp = true;
        lost.passed = false;
        lost.sequence = m_next;
        lost.arrival = arrival;
    }
    m_gap = true;
}

void ReorderBuffer::restart(std::uint16_t sequence, Bytes packet, OrderedReceiver& out) {
    while (m_waiting > 0) {
        skipToNextWaiting();
        releaseRun(out);
    }
    m_restartCandidate.reset();
    m_behindRun = 0;
    pass(sequence, packet);
    m_next = static_cast<std::uint16_t>(sequence + 1);
    m_gap = false;
    out.onOrderedPacket(packet, true);
}

}  // namespace live::rtp
