#pragma once

// An HTTP server on this machine that says what a test tells it to.

#include <winsock2.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace norix::test {

class Socket {
  public:
    explicit Socket(SOCKET socket = INVALID_SOCKET) : m_socket(socket) {}
    Socket(Socket&& other) noexcept : m_socket(std::exchange(other.m_socket, INVALID_SOCKET)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(m_socket, other.m_socket);
        return *this;
    }
    ~Socket() {
        if (m_socket != INVALID_SOCKET) closesocket(m_socket);
    }
    SOCKET Get() const { return m_socket; }

  private:
    SOCKET m_socket;
};

// One connection, as a script sees it. Sending stops at the test's end or when the client has gone.
class Client {
  public:
    Client(Socket socket, const std::atomic<bool>& ending) : m_socket(std::move(socket)), m_ending(ending) {}

    // Head and body of the next request; empty when the client has gone.
    std::string ReadRequest();
    bool Send(std::string_view bytes);
    void Drip(std::string_view bytes, int millisecondsEach);
    // Keeps the connection open and silent.
    void WaitForEnd();

  private:
    bool WaitReadable();

    Socket m_socket;
    const std::atomic<bool>& m_ending;
};

// Runs the script once per request, each connection on a thread of its own.
class ScriptedServer {
  public:
    using Script = std::function<void(Client&, const std::string& request)>;

    explicit ScriptedServer(Script script);
    // Answers everything with these bytes.
    explicit ScriptedServer(std::string reply);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::uint16_t Port() const { return m_port; }
    std::vector<std::string> Requests() const;

  private:
    void Serve();

    const Script m_script;
    std::uint16_t m_port = 0;  // before the listener, which sets it
    Socket m_listener;
    std::atomic<bool> m_ending{false};
    mutable std::mutex m_mutex;  // guards m_requests
    std::vector<std::string> m_requests;
    std::thread m_thread;
};

// A port that takes no connection and refuses none: its queue of connections is full.
class BlackHole {
  public:
    BlackHole();
    std::uint16_t Port() const { return m_port; }

  private:
    std::uint16_t m_port = 0;  // before the listener, which sets it
    Socket m_listener;
    std::vector<Socket> m_waiting;
};

std::string Reply(std::string_view body, std::string_view headers = "");

}  // namespace norix::test
