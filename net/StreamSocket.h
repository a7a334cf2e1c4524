#pragma once

// A TCP connection whose every wait ends with a stop event. Belongs to one thread.

#include <winsock2.h>

#include <windows.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "net/Lookup.h"
#include "net/SocketHandle.h"
#include "util/Handles.h"

namespace net {

class StreamSocket {
  public:
    enum class Result {
        Done,
        NoAddress,  // the name has none, or none that was found in time
        Closed,     // the peer has ended the connection properly
        Timeout,    // nothing within the time
        Stopped,    // the stop event is signalled
        Failed,     // see error
    };

    /// `stop` outlives this.
    explicit StreamSocket(HANDLE stop) : m_stop(stop) {}
    ~StreamSocket() { close(); }
    StreamSocket(const StreamSocket&) = delete;
    StreamSocket& operator=(const StreamSocket&) = delete;

    /// Looks the name up and connects to the first of its addresses that answers.
    Result connect(const std::string& host, std::uint16_t port, std::uint32_t timeLimitMs);
    Result send(std::string_view text, std::uint32_t timeLimitMs);
    /// Waits for the first bytes and takes what is there; `received` is at least 1 when Done.
    Result receive(std::span<std::uint8_t> buffer, std::uint32_t timeLimitMs, std::size_t& received);
    void close();

    // ---- For who waits for other things as well

    /// Signalled when there may be something to receive, room to send, or an end. Valid while connected.
    HANDLE event() const { return m_event.Get(); }
    /// What was signalled so far has been seen; what comes from now on signals anew.
    void acknowledge();
    /// Sends what the system takes at once: `sent` is 0 where that is nothing.
    Result sendSome(std::span<const std::uint8_t> bytes, std::size_t& sent);
    /// What is sent goes out at once, and no more than about so many bytes wait in the system.
    void keepLittleBuffered(int bytes);
    /// Where it is connected to, in numbers; empty where it is not.
    const std::string& peer() const { return m_peer; }

    /// The system's number of the last failure.
    int error() const { return m_error; }

  private:
    Result lookUp(const std::string& host, std::uint32_t timeLimitMs, std::vector<SocketAddress>& found);
    Result connectTo(const SocketAddress& address, std::uint32_t timeLimitMs);
    Result wait(std::uint32_t timeLimitMs, int bit);
    Result fail(int error) {
        m_error = error;
        return Result::Failed;
    }

    const HANDLE m_stop;
    util::Event m_event{util::Event::Kind::kManualReset};
    SocketHandle m_socket;
    std::string m_peer;
    int m_error = 0;
};

}  // namespace net
