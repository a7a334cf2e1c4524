#include "include/HTTP/StreamSocket.h"

#include <algorithm>

namespace norix::http {

void StreamSocket::Close() {
    if (m_socket != INVALID_SOCKET) closesocket(std::exchange(m_socket, INVALID_SOCKET));
    m_event.Reset();
}

// Waits for one event of the socket, FD_..._BIT; Done as well when something else has happened: the caller
// tries its call and learns.
StreamSocket::Result StreamSocket::Wait(std::uint32_t timeLimitMs, int bit) {
    const HANDLE handles[] = {m_stop, m_event.Get()};
    switch (WaitForMultipleObjects(2, handles, FALSE, timeLimitMs)) {
        case WAIT_OBJECT_0:
            return Result::Stopped;
        case WAIT_OBJECT_0 + 1:
            break;
        case WAIT_TIMEOUT:
            return Result::Timeout;
        default:
            return Fail(static_cast<int>(GetLastError()));
    }
    WSANETWORKEVENTS events = {};
    if (WSAEnumNetworkEvents(m_socket, m_event.Get(), &events) != 0) return Fail(WSAGetLastError());
    if ((events.lNetworkEvents & (1 << bit)) != 0 && events.iErrorCode[bit] != 0) {
        return Fail(events.iErrorCode[bit]);
    }
    return Result::Done;
}

StreamSocket::Result StreamSocket::Connect(const SocketAddress& address, std::uint32_t timeLimitMs) {
    Close();
    m_socket = socket(address.storage.ss_family, SOCK_STREAM, IPPROTO_TCP);
    if (m_socket == INVALID_SOCKET) return Fail(WSAGetLastError());
    if (WSAEventSelect(m_socket, m_event.Get(), FD_CONNECT) != 0) {
        return Fail(WSAGetLastError());
    }
    if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address.storage), address.length) != 0) {
        if (WSAGetLastError() != WSAEWOULDBLOCK) return Fail(WSAGetLastError());
        const Result result = Wait(timeLimitMs, FD_CONNECT_BIT);
        if (result != Result::Done) return result;
    }
    if (WSAEventSelect(m_socket, m_event.Get(), FD_READ | FD_WRITE | FD_CLOSE) != 0) {
        return Fail(WSAGetLastError());
    }
    return Result::Done;
}

StreamSocket::Result StreamSocket::Send(std::string_view text, std::uint32_t timeLimitMs) {
    const ULONGLONG begin = GetTickCount64();
    while (!text.empty()) {
        const int sent = send(m_socket, text.data(), static_cast<int>(text.size()), 0);
        if (sent > 0) {
            text.remove_prefix(static_cast<std::size_t>(sent));
            continue;
        }
        if (WSAGetLastError() != WSAEWOULDBLOCK) return Fail(WSAGetLastError());
        const ULONGLONG passed = GetTickCount64() - begin;
        if (passed >= timeLimitMs) return Result::Timeout;
        const Result result = Wait(timeLimitMs - static_cast<std::uint32_t>(passed), FD_WRITE_BIT);
        if (result != Result::Done) return result;
    }
    return Result::Done;
}

StreamSocket::Result StreamSocket::Receive(std::span<std::uint8_t> buffer, std::uint32_t timeLimitMs,
                                           std::size_t& received) {
    const ULONGLONG begin = GetTickCount64();
    for (;;) {
        // A stream that never lets the socket run dry must be stoppable too.
        if (WaitForSingleObject(m_stop, 0) == WAIT_OBJECT_0) return Result::Stopped;
        const int count =
            recv(m_socket, reinterpret_cast<char*>(buffer.data()), static_cast<int>(buffer.size()), 0);
        if (count > 0) {
            received = static_cast<std::size_t>(count);
            return Result::Done;
        }
        if (count == 0) return Result::Closed;
        if (WSAGetLastError() != WSAEWOULDBLOCK) return Fail(WSAGetLastError());
        const ULONGLONG passed = GetTickCount64() - begin;
        if (passed >= timeLimitMs) return Result::Timeout;
        const Result result = Wait(timeLimitMs - static_cast<std::uint32_t>(passed), FD_READ_BIT);
        if (result != Result::Done) return result;
    }
}

}  // namespace norix::http
