#pragma once

// Puts packets back into the order of their sequence numbers.
//
// A packet that is next in line goes straight through, without a copy. One that is ahead waits for those
// before it, until the first one that waits has done so for as long as the window says; then they count as
// lost. Duplicates and packets that come too late are dropped; the window learns from both kinds of late
// ones. A sender that restarts its numbering is believed when two packets in a row say so, or, where the new
// numbers are a little behind the old, a run of them that are no duplicates. Memory is bounded and reused.

#include <cstdint>
#include <optional>
#include <vector>

#include "live/rtp/ByteReader.h"
#include "live/rtp/ReorderWindow.h"

namespace live::rtp {

class OrderedReceiver {
  public:
    /// `afterLoss`: packets are missing before this one.
    virtual void onOrderedPacket(Bytes packet, bool afterLoss) = 0;

  protected:
    ~OrderedReceiver() = default;
};

class ReorderBuffer {
  public:
    ReorderBuffer();

    void setWindow(const ReorderWindow& window) { m_window = window; }
    void push(std::uint16_t sequence, Bytes packet, std::int64_t nowMicroseconds, OrderedReceiver& out);
    /// When expire has to be called; nothing while no packet waits.
    std::optional<std::int64_t> deadline();
    /// Gives up on packets that have been waited for long enough.
    void expire(std::int64_t nowMicroseconds, OrderedReceiver& out);
    /// Forgets everything; the next packet is the first.
    void reset();

    /// How long missing packets are waited for now, and how long packets have lately waited at most;
    /// microseconds.
    std::int64_t window(std::int64_t nowMicroseconds) const { return m_window.at(nowMicroseconds); }
    std::int64_t held(std::int64_t nowMicroseconds) const { return m_held.at(nowMicroseconds); }
    /// Packets that came after they had been given up.
    std::uint64_t late() const { return m_late; }

  private:
    struct Slot {
        bool used = false;
        bool givenUp = false;  // of `sequence`
        bool passed = false;   // `sequence` has been handed on
        std::uint16_t sequence = 0;
        std::uint64_t print = 0;   // passed: tells a duplicate from another packet of that number
        std::int64_t arrival = 0;  // given up: of the packet behind the gap
        std::vector<unsigned char> bytes;
    };
    // At 1400 bytes a packet, 300 ms of 40 Mbit/s.
    static constexpr std::size_t kSlots = 1024;
    static constexpr std::size_t kMaxWaitingBytes = 2 * 1024 * 1024;

    Slot& slot(std::uint16_t sequence) { return m_slots[sequence % kSlots]; }
    void onBehind(std::uint16_t sequence, Bytes packet, OrderedReceiver& out);
    void pass(std::uint16_t sequence, Bytes packet);
    void store(std::uint16_t sequence, Bytes packet);
    void release(std::uint16_t sequence, OrderedReceiver& out);
    void releaseRun(OrderedReceiver& out);
    std::uint16_t firstWaiting();
    void skipToNextWaiting();
    void restart(std::uint16_t sequence, Bytes packet, OrderedReceiver& out);

    ReorderWindow m_window{100'000};
    RecentPeak m_held;
    std::uint64_t m_late = 0;
    std::int64_t m_now = 0;
    bool m_started = false;
    bool m_gap = false;
    std::uint16_t m_next = 0;
    std::size_t m_waiting = 0;
    std::size_t m_waitingBytes = 0;
    std::optional<std::uint16_t> m_restartCandidate;  // what would follow if the sender restarted
    std::uint16_t m_behindNext = 0;                   // what would follow the run of packets behind
    unsigned m_behindRun = 0;
    std::vector<Slot> m_slots;
};

}  // namespace live::rtp
