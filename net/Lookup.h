#pragma once

// Names of hosts, looked up without anybody having to wait longer than he likes.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "net/Sockets.h"

namespace net {

/// Where a host is reached, IPv4 or IPv6.
struct SocketAddress {
    sockaddr_storage storage = {};
    int length = 0;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    void setPort(std::uint16_t port);
    bool isKnown() const { return length != 0; }
    /// In network byte order; 0 for an IPv6 one.
    std::uint32_t ipv4() const;
    /// Without the port; an IPv6 one without brackets.
    std::string text() const;
};

/// In network byte order; 0 when the text is no numeric IPv4 address.
std::uint32_t numericAddress(const std::string& text);

/// The addresses that a text means without anybody being asked: a numeric one of either family, or none.
std::vector<SocketAddress> numericAddresses(const std::string& text);

/// One look-up, shared by the thread that does it and those who want to know. It can't be broken off, only
/// forgotten: it takes as long as the system takes.
class Lookup {
  public:
    /// Begins to look a name up, or joins the look-up of the same name that is already under way. Null when
    /// too many of them are, or the system refuses a thread. `whenDone` is called once when it is done, on
    /// any thread, and must throw nothing; it owns or shares what it uses. `forStranger`: a page has named
    /// the host; half of the places are not for such. Any thread.
    static std::shared_ptr<const Lookup> begin(const std::string& host, std::function<void()> whenDone = {},
                                               bool forStranger = false);

    bool done() const { return m_done.load(std::memory_order_acquire); }
    /// Once it is done: a few at most, IPv4 before IPv6, without a port; empty when there are none.
    const std::vector<SocketAddress>& addresses() const { return m_addresses; }

    /// What asks the system; tests replace it.
    using SystemCall = std::vector<SocketAddress>(const std::string& host);
    static std::atomic<SystemCall*> systemCall;

  private:
    void complete(std::vector<SocketAddress> addresses) noexcept;
    void tellWhenDone(std::function<void()> whenDone);

    std::vector<SocketAddress> m_addresses;  // written by the thread before m_done
    std::atomic<bool> m_done{false};
    std::mutex m_lock;
    std::vector<std::function<void()>> m_waiting;  // under m_lock; empty for good once m_done
};

}  // namespace net
