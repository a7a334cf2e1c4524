#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace norix {

/// Coded voice on its way to a socket. A packet is what is sent whole or not at all: whoever listens never
/// gets a part of a sample or of an AAC unit. What waits too long is dropped, oldest first, but for a packet
/// that has been begun. One thread; after the first seconds nothing is allocated.
class VoiceBacklog {
  public:
    /// How much voice may wait, in microseconds, beside a packet that has been begun.
    explicit VoiceBacklog(std::uint32_t limitUs) : m_limitUs(limitUs) {}

    /// Queues a copy, and drops what waits beyond the limit. The newest packet always stays.
    void Add(std::span<const std::uint8_t> packet, std::uint32_t durationUs);

    /// What is to be sent next: the rest of the oldest packet. Empty when there is nothing.
    std::span<const std::uint8_t> Front() const;
    /// So many bytes of Front have been sent.
    void Consume(std::size_t bytes);

    /// A packet has been begun: the stream must not end before its rest is sent.
    bool IsBegun() const { return m_sent != 0; }

    std::uint32_t DroppedUs() const { return m_droppedUs; }

  private:
    struct Packet {
        std::vector<std::uint8_t> bytes;
        std::uint32_t durationUs = 0;
    };
    static constexpr std::size_t kMost = 32;

    Packet& At(std::size_t index) { return m_packets[(m_first + index) % kMost]; }
    const Packet& At(std::size_t index) const { return m_packets[(m_first + index) % kMost]; }
    void DropOldest();

    const std::uint32_t m_limitUs;
    std::array<Packet, kMost> m_packets;  // a ring
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    std::size_t m_sent = 0;         // bytes of the first packet
    std::uint32_t m_waitingUs = 0;  // of all packets but one that has been begun
    std::uint32_t m_droppedUs = 0;
};

}  // namespace norix
