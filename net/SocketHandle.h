#pragma once

// Owns one socket.

#include <utility>

#include "net/Sockets.h"

namespace net {

class SocketHandle {
  public:
    SocketHandle() = default;
    explicit SocketHandle(int socket) : m_socket(socket) {}
    SocketHandle(SocketHandle&& other) noexcept : m_socket(std::exchange(other.m_socket, -1)) {}
    SocketHandle& operator=(SocketHandle&& other) noexcept {
        if (this != &other) {
            reset();
            m_socket = std::exchange(other.m_socket, -1);
        }
        return *this;
    }
    ~SocketHandle() { reset(); }

    int get() const { return m_socket; }
    explicit operator bool() const { return m_socket >= 0; }
    void reset() {
        if (m_socket >= 0) closeSocket(std::exchange(m_socket, -1));
    }

  private:
    int m_socket = -1;
};

}  // namespace net
