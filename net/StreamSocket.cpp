#include "net/StreamSocket.h"

#include <memory>

namespace net {
namespace {

// What is left of a span of time that begins now.
class Deadline {
  public:
    explicit Deadline(std::uint32_t milliseconds) : m_begin(GetTickCount64()), m_milliseconds(milliseconds) {}
    std::uint32_t left() const {
        const ULONGLONG passed = GetTickCount64() - m_begin;
        return passed < m_milliseconds ? m_milliseconds - static_cast<std::uint32_t>(passed) : 0;
    }

  private:
    const ULONGLONG m_begin;
    const std::uint32_t m_milliseconds;
};

}  // namespace

void StreamSocket::close() {
    m_socket.reset();
    m_event.Reset();
    m_peer.clear();
}

void StreamSocket::acknowledge() {
    WSANETWORKEVENTS seen = {};
    WSAEnumNetworkEvents(m_socket.get(), m_event.Get(), &seen);
}

StreamSocket::Result StreamSocket::sendSome(std::span<const std::uint8_t> bytes, std::size_t& sent) {
    sent = 0;
    const std::ptrdiff_t taken = net::send(m_socket.get(), bytes.data(), bytes.size());
    if (taken < 0 && !wouldBlock(lastError())) return fail(lastError());
    if (taken > 0) sent = static_cast<std::size_t>(taken);
    return Result::Done;
}

void StreamSocket::keepLittleBuffered(int bytes) {
    const int on = 1;
    const auto socket = static_cast<SOCKET>(m_socket.get());
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    setsockopt(socket, SOL_SOCKET, SO_SNDBUF, reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

// Waits for one event of the socket, FD_..._BIT; Done as well when something else has happened: the caller
// tries its call and learns.
StreamSocket::Result StreamSocket::wait(std::uint32_t timeLimitMs, int bit) {
    const HANDLE handles[] = {m_stop, m_event.Get()};
    switch (WaitForMultipleObjects(2, handles, FALSE, timeLimitMs)) {
        case WAIT_OBJECT_0:
            return Result::Stopped;
        case WAIT_OBJECT_0 + 1:
            break;
        case WAIT_TIMEOUT:
            return Result::Timeout;
        default:
            return fail(static_cast<int>(GetLastError()));
    }
    WSANETWORKEVENTS events = {};
    if (WSAEnumNetworkEvents(m_socket.get(), m_event.Get(), &events) != 0) return fail(lastError());
    if ((events.lNetworkEvents & (1 << bit)) != 0 && events.iErrorCode[bit] != 0) {
        return fail(events.iErrorCode[bit]);
    }
    return Result::Done;
}

StreamSocket::Result StreamSocket::lookUp(const std::string& host, std::uint32_t timeLimitMs,
                                          std::vector<SocketAddress>& found) {
    found = numericAddresses(host);
    if (!found.empty()) return Result::Done;
    // Shared with the look-up, which may come to its end long after nobody waits any more.
    const auto done = std::make_shared<util::Event>(util::Event::Kind::kManualReset);
    const auto lookup = Lookup::begin(host, [done] { done->Set(); });
    if (!lookup) return Result::NoAddress;
    const HANDLE handles[] = {m_stop, done->Get()};
    const DWORD woken = WaitForMultipleObjects(2, handles, FALSE, timeLimitMs);
    if (woken == WAIT_OBJECT_0) return Result::Stopped;
    if (woken == WAIT_OBJECT_0 + 1) found = lookup->addresses();
    return found.empty() ? Result::NoAddress : Result::Done;
}

StreamSocket::Result StreamSocket::connect(const std::string& host, std::uint16_t port,
                                           std::uint32_t timeLimitMs) {
    const Deadline deadline(timeLimitMs);
    std::vector<SocketAddress> addresses;
    Result result = lookUp(host, deadline.left(), addresses);
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        addresses[i].setPort(port);
        // An address that doesn't answer leaves time for the others.
        const auto share = deadline.left() / static_cast<std::uint32_t>(addresses.size() - i);
        result = connectTo(addresses[i], share);
        if (result == Result::Done || result == Result::Stopped) break;
    }
    return result;
}

StreamSocket::Result StreamSocket::connectTo(const SocketAddress& address, std::uint32_t timeLimitMs) {
    close();
    m_socket = SocketHandle(static_cast<int>(::socket(address.storage.ss_family, SOCK_STREAM, IPPROTO_TCP)));
    if (!m_socket) return fail(lastError());
    if (WSAEventSelect(m_socket.get(), m_event.Get(), FD_CONNECT) != 0) return fail(lastError());
    if (::connect(m_socket.get(), address.get(), address.length) != 0) {
        if (!wouldBlock(lastError())) return fail(lastError());
        const Result result = wait(timeLimitMs, FD_CONNECT_BIT);
        if (result != Result::Done) return result;
    }
    if (WSAEventSelect(m_socket.get(), m_event.Get(), FD_READ | FD_WRITE | FD_CLOSE) != 0) {
        return fail(lastError());
    }
    m_peer = address.text();
    return Result::Done;
}

StreamSocket::Result StreamSocket::send(std::string_view text, std::uint32_t timeLimitMs) {
    const Deadline deadline(timeLimitMs);
    while (!text.empty()) {
        const std::ptrdiff_t sent = net::send(m_socket.get(), text.data(), text.size());
        if (sent > 0) {
            text.remove_prefix(static_cast<std::size_t>(sent));
            continue;
        }
        if (!wouldBlock(lastError())) return fail(lastError());
        const std::uint32_t left = deadline.left();
        const Result result = left > 0 ? wait(left, FD_WRITE_BIT) : Result::Timeout;
        if (result != Result::Done) return result;
    }
    return Result::Done;
}

StreamSocket::Result StreamSocket::receive(std::span<std::uint8_t> buffer, std::uint32_t timeLimitMs,
                                           std::size_t& received) {
    const Deadline deadline(timeLimitMs);
    for (;;) {
        // A stream that never lets the socket run dry must be stoppable too.
        if (WaitForSingleObject(m_stop, 0) == WAIT_OBJECT_0) return Result::Stopped;
        const std::ptrdiff_t count = net::receive(m_socket.get(), buffer.data(), buffer.size());
        if (count > 0) {
            received = static_cast<std::size_t>(count);
            return Result::Done;
        }
        if (count == 0) return Result::Closed;
        if (!wouldBlock(lastError())) return fail(lastError());
        const std::uint32_t left = deadline.left();
        const Result result = left > 0 ? wait(left, FD_READ_BIT) : Result::Timeout;
        if (result != Result::Done) return result;
    }
}

}  // namespace net
