#pragma once

// Whose datagrams belong to a session: those from where the server said it sends, or from the server itself
// (a camera behind a router names an address that nobody else knows). Somebody else is believed only while
// nothing comes from there; where no server is known, whoever sends first. Pure; times in microseconds.

#include <cstdint>
#include <optional>

#include "live/env/Types.h"

namespace live::rtp {

class SenderFilter {
  public:
    /// Addresses in network byte order, 0 for those that are not known.
    void expect(ipv4AddressBits stated, ipv4AddressBits server) {
        m_stated = stated;
        m_server = server;
        m_other.reset();
        m_accepted = false;
        m_lastHeard.reset();
    }

    /// `valid`: it is a packet of the stream, so that its sender may be the one.
    bool accepts(ipv4AddressBits from, bool valid, std::int64_t now) {
        if (!m_lastHeard) m_lastHeard = now;
        const bool expected = from != 0 && (from == m_stated || from == m_server);
        const bool known = expected || from == m_other;
        if (!known) {
            const bool anybody = m_stated == 0 && m_server == 0 && !m_other;
            if (!anybody && (!valid || now - *m_lastHeard < (m_accepted ? kSilence : kFirstSilence)))
                return false;
            if (!valid) return true;
            m_other = from;
        } else if (expected && valid) {
            m_other.reset();
        }
        m_accepted = m_accepted || valid;
        // Before the stream, reports say nothing of where it comes from.
        if (m_accepted) m_lastHeard = now;
        return true;
    }

  private:
    // Without a stream, the user is waiting; with one, it may only have paused.
    static constexpr std::int64_t kFirstSilence = 1'000'000;
    static constexpr std::int64_t kSilence = 3'000'000;

    ipv4AddressBits m_stated = 0;
    ipv4AddressBits m_server = 0;
    // Who is believed instead. Groups on the loopback interface have senders without an address: 0.
    std::optional<ipv4AddressBits> m_other;
    bool m_accepted = false;  // a packet of the stream has come
    std::optional<std::int64_t> m_lastHeard;
};

}  // namespace live::rtp
