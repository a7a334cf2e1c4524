#pragma once

// Puts packets back into the order of their sequence numbers.
//
// A packet that is next in line goes straight through, without a copy. One that is ahead waits for those
// before it, for at most the threshold; then they count as lost. Duplicates and packets that come too late
// are dropped. A sender that restarts its numbering is believed when two packets in a row say so. Memory is
// bounded and reused.

#include <cstdint>
#include <optional>
#include <vector>

#include "live/rtp/ByteReader.h"

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

    void setThreshold(std::int64_t microseconds) { m_threshold = microseconds; }
    void push(std::uint16_t sequence, Bytes packet, std::int64_t nowMicroseconds, OrderedReceiver& out);
    /// When expire has to be called; nothing while no packet waits.
    std::optional<std::int64_t> deadline() const;
    /// Gives up on packets that have been waited for long enough.
    void expire(std::int64_t nowMicroseconds, OrderedReceiver& out);
    /// Forgets everything; the next packet is the first.
    void reset();

  private:
    struct Slot {
        bool used = false;
        std::int64_t arrival = 0;
        std::vector<unsigned char> bytes;
    };
    static constexpr std::size_t kSlots = 512;
    static constexpr std::size_t kMaxWaitingBytes = 2 * 1024 * 1024;

    Slot& slot(std::uint16_t sequence) { return m_slots[sequence % kSlots]; }
    const Slot& slot(std::uint16_t sequence) const { return m_slots[sequence % kSlots]; }
    void store(std::uint16_t sequence, Bytes packet, std::int64_t now);
    void release(std::uint16_t sequence, OrderedReceiver& out);
    void releaseRun(OrderedReceiver& out);
    void skipToNextWaiting();
    void restart(std::uint16_t sequence, Bytes packet, OrderedReceiver& out);
    std::int64_t oldestArrival() const;

    std::int64_t m_threshold = 100'000;
    bool m_started = false;
    bool m_gap = false;
    std::uint16_t m_next = 0;
    std::size_t m_waiting = 0;
    std::size_t m_waitingBytes = 0;
    std::optional<std::uint16_t> m_restartCandidate;  // what would follow if the sender restarted
    std::vector<Slot> m_slots;
};

}  // namespace live::rtp
