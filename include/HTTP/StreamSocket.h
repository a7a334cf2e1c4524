#pragma once

// A TCP connection whose every wait ends with a stop event. Belongs to one thread.

#include <winsock2.h>

#include <windows.h>

#include <cstdint>
#include <span>
#include <string_view>

#include "include/HTTP/HostLookup.h"
#include "util/Handles.h"

namespace norix::http {

/// Windows Sockets for the time it lives.
class SocketLibrary {
  public:
    SocketLibrary() noexcept {
        WSADATA data;
        m_started = WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }
    ~SocketLibrary() {
        if (m_started) WSACleanup();
    }
    SocketLibrary(const SocketLibrary&) = delete;
    SocketLibrary& operator=(const SocketLibrary&) = delete;

  private:
    bool m_started = false;
};

class StreamSocket {
  public:
    enum class Result {
        Done,
        Closed,   // the peer has ended the connection properly
        Timeout,  // nothing within the time
        Stopped,  // the stop event is signalled
        Failed,   // see Error
    };

    /// `stop` outlives this.
    explicit StreamSocket(HANDLE stop) : m_stop(stop) {}
    ~StreamSocket() { Close(); }
    StreamSocket(const StreamSocket&) = delete;
    StreamSocket& operator=(const StreamSocket&) = delete;

    Result Connect(const SocketAddress& address, std::uint32_t timeLimitMs);
    Result Send(std::string_view text, std::uint32_t timeLimitMs);
    /// Waits for the first bytes and takes what is there; `received` is at least 1 when Done.
    Result Receive(std::span<std::uint8_t> buffer, std::uint32_t timeLimitMs, std::size_t& received);
    void Close();

    /// The system's number of the last failure.
    int Error() const { return m_error; }

  private:
    Result Wait(std::uint32_t timeLimitMs, int bit);
    Result Fail(int error) {
        m_error = error;
        return Result::Failed;
    }

    const HANDLE m_stop;
    util::Event m_event{util::Event::Kind::kManualReset};
    SOCKET m_socket = INVALID_SOCKET;
    int m_error = 0;
};

}  // namespace norix::http
