#pragma once

// A camera that answers as it is told, on a port of the loopback address.

#include <winsock2.h>

#include <windows.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "util/Handles.h"

namespace http_test {

// What is done on one connection, once the request's head has come: the texts are sent one after the other;
// a text kHold keeps the connection until the other side ends it, a text kPause waits for a moment.
using Script = std::vector<std::string>;
inline const std::string kHold = "<hold>";
inline const std::string kPause = "<pause>";

class ScriptedServer {
  public:
    // One script per connection, in their order.
    explicit ScriptedServer(std::vector<Script> scripts) {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        m_listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int length = sizeof(address);
        auto* const plain = reinterpret_cast<sockaddr*>(&address);
        bind(m_listener, plain, length);
        listen(m_listener, 4);
        getsockname(m_listener, plain, &length);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this, scripts = std::move(scripts)] { Serve(scripts); });
    }
    // Ends connections that are held.
    ~ScriptedServer() {
        m_stop.Set();
        m_thread.join();
        closesocket(m_listener);
        WSACleanup();
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::uint16_t Port() const { return m_port; }
    // The heads so far.
    std::vector<std::string> Requests() const {
        const std::lock_guard<std::mutex> lock(m_lock);
        return m_requests;
    }

  private:
    // False when the server is to end.
    bool AwaitReadable(SOCKET socket) {
        while (!m_stop.Wait(0)) {
            fd_set set = {1, {socket}};
            timeval moment = {0, 10'000};
            if (select(0, &set, nullptr, nullptr, &moment) > 0) return true;
        }
        return false;
    }

    void Serve(const std::vector<Script>& scripts) {
        for (const Script& script : scripts) {
            if (!AwaitReadable(m_listener)) return;
            const SOCKET connection = accept(m_listener, nullptr, nullptr);
            Play(connection, script);
            shutdown(connection, SD_SEND);
            closesocket(connection);
        }
    }

    void Play(SOCKET socket, const Script& script) {
        std::string request;
        char buffer[2048];
        while (!request.ends_with("\r\n\r\n")) {
            if (!AwaitReadable(socket)) return;
            const int count = recv(socket, buffer, sizeof(buffer), 0);
            if (count <= 0) return;
            request.append(buffer, static_cast<std::size_t>(count));
        }
        {
            const std::lock_guard<std::mutex> lock(m_lock);
            m_requests.push_back(request);
        }
        for (const std::string& text : script) {
            if (text == kHold) {
                while (AwaitReadable(socket) && recv(socket, buffer, sizeof(buffer), 0) > 0) {
                }
            } else if (text == kPause) {
                m_stop.Wait(30);
            } else {
                send(socket, text.data(), static_cast<int>(text.size()), 0);
            }
        }
    }

    SOCKET m_listener = INVALID_SOCKET;
    std::uint16_t m_port = 0;
    util::Event m_stop{util::Event::Kind::kManualReset};
    mutable std::mutex m_lock;
    std::vector<std::string> m_requests;  // guarded by m_lock
    std::thread m_thread;
};

}  // namespace http_test
