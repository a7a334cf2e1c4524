#pragma once

// Whose datagrams belong to a session: those from where the server said it sends, or from the server itself
// (a camera behind a router names an address that nobody else knows); where it said nothing, those of
// whoever sends first. Pure; times in microseconds.

#include <cstdint>

#include "live/env/Types.h"

namespace live::rtp {

class SenderFilter {
  public:
    /// Addresses in network byte order. `stated` 0: the first sender's counts.
    void expect(ipv4AddressBits stated, ipv4AddressBits server) {
        m_stated = stated;
        m_server = server;
        m_first = 0;
    }

    /// `valid`: it is a packet of the stream, so that its sender may become the first one.
    bool accepts(ipv4AddressBits from, bool valid, std::int64_t now) {
        const bool open = m_stated == 0 && m_first == 0;
        if (m_lastHeard == 0) m_lastHeard = now;
        if (!open && (from == m_first || (m_stated != 0 && (from == m_stated || from == m_server)))) {
            m_lastHeard = now;
            return true;
        }
        // From whoever has been silent for so long, the stream may go on from elsewhere.
        constexpr std::int64_t kSilence = 3'000'000;
        if (!open && (!valid || now - m_lastHeard < kSilence)) return false;
        if (!valid) return true;
        m_first = from;
        m_lastHeard = now;
        return true;
    }

  private:
    ipv4AddressBits m_stated = 0;
    ipv4AddressBits m_server = 0;
    ipv4AddressBits m_first = 0;  // 0: nobody yet
    std::int64_t m_lastHeard = 0;
};

}  // namespace live::rtp
