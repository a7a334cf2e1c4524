#pragma once

// Names of hosts, looked up without anybody having to wait.

#include <atomic>
#include <memory>
#include <string>

#include "live/env/Types.h"

namespace live::net {

/// In network byte order; 0 when the text is no numeric IPv4 address.
ipv4AddressBits numericAddress(const std::string& text);

/// One look-up, shared by the thread that does it and those who want to know. It can't be broken off, only
/// forgotten: it takes as long as the system takes.
class Lookup {
  public:
    /// Begins to look a name up, or joins the look-up of the same name that is already under way. Null when
    /// too many of them are, or the system refuses a thread.
    static std::shared_ptr<const Lookup> begin(const std::string& host);

    bool done() const { return m_done.load(std::memory_order_acquire); }
    /// Once it is done; 0 when there is none.
    ipv4AddressBits address() const { return m_address; }

    /// What asks the system; tests replace it.
    using SystemCall = ipv4AddressBits(const std::string& host);
    static std::atomic<SystemCall*> systemCall;

  private:
    void run(const std::string& host) noexcept;

    ipv4AddressBits m_address = 0;  // written by the thread before m_done
    std::atomic<bool> m_done{false};
};

}  // namespace live::net
